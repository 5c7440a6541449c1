#include <algorithm>
#include <tuple>

#include "book_view.h"
#include "commands.h"
#include "interrupts.h"
#include "screen.h"

namespace app {
namespace {

/// Prices the cart at the shop. When the shop could not be asked, the cart is restored and
/// CommandError thrown.
/// \return the books that the shop no longer sells.
std::vector<store::Book> PriceCart(Session& session) {
  store::StoreManager& manager = session.LoggedInStore();
  if (manager.GetCart().GetSize() == 0) {
    throw CommandError(kNotFound, "The cart is empty. Fill it with \"quire cart add EAN\".");
  }
  std::vector<store::Book> dropped;
  {
    const Spinner spinner("Asking the shop for prices …");
    dropped = std::get<1>(manager.CheckOut());
  }
  const store::Failure failure = manager.GetLastFailure();
  if (!dropped.empty() && (failure || manager.GetCart().GetSize() == 0)) {
    for (const store::Book& book : dropped) manager.AddToCart(book);
    if (failure) {
      throw ToCommandError("The cart could not be priced", failure,
                           "The cart is kept; try again later.");
    }
    throw CommandError(kNotFound,
                       "The shop no longer sells any title in the cart. Remove them with \"quire "
                       "cart remove EAN\".");
  }
  session.order_is_priced = true;
  return dropped;
}

void PrintPricedCart(const store::Cart& cart, const std::vector<store::Book>& dropped) {
  PrintCart(cart);
  for (const store::Book& book : dropped) {
    Screen::Out().PrintLine("No longer sold, and left out: " + QuoteTitle(DisplayTitle(book)) +
                                " (" + GetString(book, store::Book::kEan) + ").",
                            Style::kError);
  }
}

void CheckOut(Session& session, bool as_json) {
  const std::vector<store::Book> dropped = PriceCart(session);
  const store::Cart& cart = session.Store().GetCart();
  if (as_json) {
    Json json = CartToJson(cart);
    json["dropped"] = Json::array();
    for (const store::Book& book : dropped) json["dropped"].push_back(BookToJson(book));
    return PrintJson(json);
  }
  PrintPricedCart(cart, dropped);
  Screen::Out().PrintLine("Pay with \"quire pay paypal\" or \"quire pay card\".");
}

/// Opens the payment page; returns when the browser has closed.
void RunBrowser(store::StoreManager& manager, const std::string& method) {
  Screen::Out().PrintLine("Opening the payment page for " +
                          manager.GetCart().GetTotalPriceFormatted() + " in the browser …");
  if (manager.StartPayment(method).code_ != store::ServerApi::kOk) {
    throw ToCommandError("The payment was not started", manager.GetLastFailure(),
                         "Nothing was charged, and the cart is kept.");
  }
  const bool failed = manager.GetLastFailure().kind == store::Failure::kBrowser;
  Screen::Out().PrintLine(failed ? "The browser failed. Asking the shop whether you have paid …"
                                 : "The browser has closed.",
                          failed ? Style::kError : Style::kPlain);
}

void WaitForPayment(store::StoreManager& manager) {
  const Spinner spinner("Waiting for the shop to confirm the payment …");
  if (manager.CheckPaymentResult().code_ == store::ServerApi::kOk) return;
  const store::Failure& failure = manager.GetLastFailure();
  if (failure.kind == store::Failure::kPaymentFailed) {
    throw CommandError(kFailed,
                       "The shop reports that the payment was cancelled, failed or is in progress. "
                       "The cart is kept; before you pay again, check with \"quire books\" "
                       "whether the books are yours.");
  }
  throw ToCommandError("The shop did not confirm the payment", failure,
                       "The cart is kept; before you pay again, check with \"quire orders check\" "
                       "and \"quire books\" whether the books are yours.");
}

void Pay(Session& session, const std::string& method) {
  store::StoreManager& manager = session.LoggedInStore();
  if (!session.order_is_priced) {
    const std::vector<store::Book> dropped = PriceCart(session);
    PrintPricedCart(manager.GetCart(), dropped);
  }
  const InterruptHandler interrupts(
      "\nStopped. The cart is kept, but the payment may have succeeded: check with \"quire books\" "
      "before you pay again.\n");
  RunBrowser(manager, method);
  WaitForPayment(manager);
  session.order_is_priced = false;
  std::string when, date, time;
  if (store::ConvertDateTime(manager.GetOrderDatePlaced(), date, time)) {
    when = " on " + date + " at " + time;
  }
  Screen::Out().PrintLine("Paid. The order was placed" + when + ".", Style::kSuccess);
  Screen::Out().PrintLine("Get the books with \"quire download --all\".");
}

void CheckOrder(Session& session) {
  store::StoreManager& manager = session.LoggedInStore();
  const std::vector<store::Book> ordered = manager.GetCart().orderItems;
  if (manager.CheckOrderIfNeeded() != 0) {
    throw ToCommandError("The order cannot be checked", manager.GetLastFailure());
  }
  if (!manager.IsPurchasedKnown()) {
    throw ToCommandError("The shop has the order, but the list of your books is unknown",
                         manager.GetLastFailure());
  }
  const bool all_bought = std::all_of(ordered.begin(), ordered.end(), [&](const auto& book) {
    return FindByEan(manager.GetPurchased(), GetString(book, store::Book::kEan)) != nullptr;
  });
  Screen::Out().PrintLine(all_bought && !ordered.empty()
                              ? "The shop has the order, and its books are yours."
                              : "The shop has the order, but its books are not yours yet.");
}

}  // namespace

void AddCheckoutCommands(CLI::App& cli, Session& session) {
  AddListing(cli, "checkout", "Have the cart priced by the shop",
             [&session](bool as_json) { CheckOut(session, as_json); });

  CLI::App* pay = cli.add_subcommand("pay", "Pay for the cart in the browser");
  pay->require_subcommand(1);
  pay->add_subcommand("paypal", "By PayPal")->callback([&session] { Pay(session, "PAYPAL"); });
  pay->add_subcommand("card", "By credit card")->callback([&session] { Pay(session, "CCARD"); });

  CLI::App* orders = cli.add_subcommand("orders", "Ask about an order");
  orders->require_subcommand(1);
  orders->add_subcommand("check", "Ask the shop about the payment started last")
      ->callback([&session] { CheckOrder(session); });
}

}  // namespace app
