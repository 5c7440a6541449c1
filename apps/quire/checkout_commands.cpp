#include <algorithm>
#include <memory>
#include <tuple>

#include "book_view.h"
#include "cart_view.h"
#include "command_error.h"
#include "commands.h"
#include "device_log.h"
#include "interrupts.h"
#include "json_output.h"
#include "screen.h"

namespace app {
namespace {

using Result = store::ServerApi::Result;

/// Has the cart priced by the shop. What the shop's cart lacks is returned. When the shop could not
/// be reached, the cart is put back and CommandError thrown.
std::vector<store::Book> PriceCart(Session& session) {
  store::StoreManager& manager = session.LoggedInStore();
  const unsigned size = manager.GetCart().GetSize();
  if (size == 0) {
    throw CommandError(kNotFound, "The cart is empty. Fill it with \"quire cart add EAN\".");
  }
  const DeviceLog log;
  std::vector<store::Book> dropped;
  {
    const Spinner spinner("Asking the shop for prices …");
    dropped = std::get<1>(manager.CheckOut());
  }
  if (manager.GetCart().GetSize() == 0 && dropped.size() == size) {
    for (const store::Book& book : dropped) manager.AddToCart(book);
    throw CommandError(kUnreachable,
                       "The shop could not be reached, or has none of these titles any "
                       "more" +
                           log.Reason() + ". Your cart is kept; try again later.");
  }
  session.order_is_priced = true;
  return dropped;
}

void PrintPricedCart(const store::Cart& cart, const std::vector<store::Book>& dropped) {
  PrintCart(cart);
  for (const store::Book& book : dropped) {
    Screen::Out().PrintLine("No longer sold, and left out: " + QuoteTitle(DisplayTitle(book)) +
                                " (" + GetString(book, store::Book::kEan) + ").",
                            Style::kBad);
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
void RunBrowser(Session& session, const std::string& method) {
  store::StoreManager& manager = session.Store();
  Screen::Out().PrintLine("Opening the payment page for " +
                          manager.GetCart().GetTotalPriceFormatted() + " in the browser …");
  const DeviceLog log;
  session.payment_was_started = true;
  const Result result = manager.StartPayment(method);
  if (result.code_ == store::ServerApi::kOk) {
    const bool failed = log.Contains("the browser /ebrmain/bin/browser.app failed: ");
    Screen::Out().PrintLine(failed ? "The browser failed" + log.Reason() + "."
                                   : std::string("The browser has closed."));
    return;
  }
  if (!result.message_.empty()) {
    throw CommandError(kFailed, "The shop did not take the order: \"" + result.message_ +
                                    "\" Nothing was charged; the cart is kept.");
  }
  const std::string rest = log.Reason() + ". Nothing was charged; the cart is kept.";
  if (log.Contains("SM_OK == err")) {
    throw CommandError(kDevice, "The device's browser could not be run" + rest);
  }
  if (log.Contains("url.empty()"))
    throw CommandError(kFailed, "The shop named no payment page" + rest);
  throw CommandError(kUnreachable, "The payment could not begin" + rest + " Try again later.");
}

/// Whether the shop itself said that the payment failed, rather than not being heard.
bool WasDenied(const Result& result, store::StoreManager& manager, const DeviceLog& log) {
  if (!result.message_.empty()) return false;
  // The library logs every failure to hear the shop out, but not a payment that failed.
  if (log.IsComplete()) return !log.Contains("StoreManager::CheckPaymentResult");
  return manager.CheckOrderIfNeeded() == 0;
}

void WaitForPayment(Session& session) {
  store::StoreManager& manager = session.Store();
  const DeviceLog log;
  Result result;
  {
    const Spinner spinner("Waiting for the shop to confirm the payment …");
    result = manager.CheckPaymentResult();
  }
  if (result.code_ == store::ServerApi::kOk) return;
  if (WasDenied(result, manager, log)) {
    throw CommandError(kFailed,
                       "The payment was cancelled or failed. Nothing was charged as far as the "
                       "shop knows, and the cart is kept.");
  }
  const std::string said = result.message_.empty() ? "" : ": \"" + result.message_ + "\"";
  throw CommandError(
      result.message_.empty() ? kUnreachable : kFailed,
      "The shop did not confirm the payment" + said + log.Reason() +
          ". The cart is kept. Before you pay again, see with \"quire orders check\" and "
          "\"quire books\" whether the books are yours already.");
}

void Pay(Session& session, const std::string& method) {
  store::StoreManager& manager = session.LoggedInStore();
  if (!session.order_is_priced) PrintPricedCart(manager.GetCart(), PriceCart(session));
  const InterruptMessage words(
      "Stopped. The cart is kept. Only the shop knows whether the payment went "
      "through: look at \"quire books\" before you pay again.");
  RunBrowser(session, method);
  WaitForPayment(session);
  session.order_is_priced = false;
  session.payment_was_started = false;
  std::string when, date, time;
  if (store::ConvertDateTime(manager.GetOrderDatePlaced(), date, time)) {
    when = " on " + date + " at " + time;
  }
  Screen::Out().PrintLine("Paid. The order was placed" + when + ".", Style::kGood);
  Screen::Out().PrintLine("Get the books with \"quire download --all\".");
}

void CheckOrders(Session& session) {
  store::StoreManager& manager = session.LoggedInStore();
  const std::vector<store::Book> wanted = manager.GetCart().orderItems;
  const DeviceLog log;
  const bool answered = session.payment_was_started && manager.CheckOrderIfNeeded() == 0;
  if (!answered) {
    const bool was_asked = log.IsComplete() ? log.Contains("StoreManager::CheckOrderIfNeeded")
                                            : session.payment_was_started;
    if (was_asked) {
      throw CommandError(kUnreachable, "The shop could not be asked about the order" +
                                           log.Reason() + ". Check the network and try again.");
    }
    throw CommandError(kNotFound,
                       "No payment was started in this session. Whether an earlier one went "
                       "through shows in \"quire books\".");
  }
  const bool all_bought = std::all_of(wanted.begin(), wanted.end(), [&](const store::Book& book) {
    return FindByEan(manager.GetPurchased(), GetString(book, store::Book::kEan)) != nullptr;
  });
  Screen::Out().PrintLine(all_bought && !wanted.empty()
                              ? "The shop knows the order, and its books are yours."
                              : "The shop knows the order, but its books are not yours yet.");
}

}  // namespace

void AddCheckoutCommands(CLI::App& cli, Session& session) {
  const auto as_json = std::make_shared<bool>(false);
  CLI::App* checkout = cli.add_subcommand("checkout", "Have the cart priced by the shop");
  checkout->add_flag("--json", *as_json, "As JSON");
  checkout->callback([&session, as_json] { CheckOut(session, *as_json); });

  CLI::App* pay = cli.add_subcommand("pay", "Pay for the cart in the browser");
  pay->require_subcommand(1);
  pay->add_subcommand("paypal", "By PayPal")->callback([&session] { Pay(session, "PAYPAL"); });
  pay->add_subcommand("card", "By credit card")->callback([&session] { Pay(session, "CCARD"); });

  CLI::App* orders = cli.add_subcommand("orders", "Ask about an order");
  orders->require_subcommand(1);
  orders->add_subcommand("check", "Ask the shop about the payment started last")
      ->callback([&session] { CheckOrders(session); });
}

}  // namespace app
