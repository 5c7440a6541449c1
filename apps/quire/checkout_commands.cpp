#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <iostream>
#include <map>
#include <thread>
#include <tuple>

#include "book_view.h"
#include "commands.h"
#include "failure_text.h"
#include "interrupts.h"
#include "money.h"
#include "screen.h"
#include "table.h"
#include "text.h"

namespace app {
namespace {

using State = OrderPayment::State;

constexpr std::chrono::seconds kPollPeriod{5};
constexpr std::chrono::minutes kMaxWait{10};

std::string NameBook(const store::Book& book) {
  return QuoteTitle(DisplayTitle(book)) + " (" + GetString(book, store::Book::kEan) + ")";
}

/// Takes the titles that the user owns out of the cart and says so. Throws CommandError when the
/// list of bought books is unknown.
void LeaveOutOwned(Session& session, bool again) {
  const std::vector<store::Book> bought = session.PurchasedBooks();
  if (again) return;
  bool is_changed = false;
  for (const CartItem& item : ListCart(session)) {
    if (FindByEan(bought, GetString(item.book, store::Book::kEan)) == nullptr) continue;
    session.Store().RemoveFromCart(item.book);
    is_changed = true;
    Screen::Err().PrintLine(NameBook(item.book) +
                            " is yours already and was taken out of the cart. To buy it once "
                            "more, add it and pay with --again.");
  }
  if (!is_changed) return;
  SaveCart(session);
  session.order_is_priced = false;
}

void RequireFullCart(Session& session) {
  if (session.Store().GetCart().GetSize() > 0) return;
  throw CommandError(kNotFound, "The cart is empty. Fill it with \"quire cart add EAN\".");
}

/// Prices the cart at the shop. When the shop could not be asked, the cart is restored and
/// CommandError thrown.
/// \return the books that the shop no longer sells.
std::vector<store::Book> PriceCart(Session& session) {
  store::StoreManager& manager = session.LoggedInStore();
  RequireFullCart(session);
  NumberCart(session);
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

void PrintPricedCart(Session& session, const std::vector<store::Book>& dropped) {
  PrintCart(session);
  for (const store::Book& book : dropped) {
    Screen::Out().PrintLine("No longer sold, and left out: " + NameBook(book) + ".", Style::kError);
  }
}

void CheckOut(Session& session, bool again, bool as_json) {
  session.LoggedInStore();
  RequireFullCart(session);
  LeaveOutOwned(session, again);
  const std::vector<store::Book> dropped = PriceCart(session);
  if (as_json) {
    Json json = CartToJson(session);
    json["dropped"] = Json::array();
    for (const store::Book& book : dropped) json["dropped"].push_back(BookToJson(book));
    return PrintJson(json);
  }
  PrintPricedCart(session, dropped);
  Screen::Out().PrintLine("Pay with \"quire pay paypal\" or \"quire pay card\".");
}

/// The cart, priced, as an order to be recorded.
RecordedOrder CreateOrder(Session& session, const std::string& method, bool again) {
  store::StoreManager& manager = session.LoggedInStore();
  RequireFullCart(session);
  LeaveOutOwned(session, again);
  if (!session.order_is_priced) PrintPricedCart(session, PriceCart(session));
  const store::Cart& cart = manager.GetCart();
  if (cart.orderId.empty()) {
    throw CommandError(kUnreachable,
                       "The shop gave the order no number. Nothing was charged; try again later.");
  }
  RecordedOrder order;
  order.id = cart.orderId;
  order.user = manager.getLogin();
  order.method = method;
  order.total = cart.GetTotalPriceFormatted();
  order.started_s = std::time(nullptr);
  for (const CartItem& item : ListCart(session)) {
    const std::string ean = GetString(item.book, store::Book::kEan);
    const bool is_owned = FindByEan(manager.GetPurchased(), ean) != nullptr;
    order.titles.push_back({ean, DisplayTitle(item.book), is_owned});
  }
  return order;
}

void Record(const RecordedOrder& order) {
  if (ReadOrderJournal().Put(order)) return;
  throw CommandError(kDevice,
                     "The order could not be recorded on the device, so its payment was not "
                     "started. Nothing was charged; check whether the storage is full.");
}

/// Opens the payment page; returns when the browser has closed.
/// \param is_new  whether nobody can have paid for the order before.
void RunBrowser(OrderPayment& payment, const RecordedOrder& order, bool is_new) {
  Screen::Out().PrintLine("Opening the payment page for " + order.total + " in the browser …");
  const OrderPayment::PageResult result = payment.ShowPage(order);
  if (result.was_shown) {
    const bool has_failed = static_cast<bool>(result.failure);
    Screen::Out().PrintLine(has_failed
                                ? "The browser failed. Asking the shop whether you have paid …"
                                : "The browser has closed.",
                            has_failed ? Style::kError : Style::kPlain);
    return;
  }
  if (is_new && !ReadOrderJournal().Remove(order)) {
    PrintError("The record of order " + order.id + " could not be removed.");
  }
  throw ToCommandError(
      "The payment was not started", result.failure,
      is_new ? "Nothing was charged, and the cart is kept."
             : "The order stays open: \"quire orders check\" asks the shop about it.");
}

/// Asks the shop about the order until it knows, Ctrl-C, or kMaxWait has passed.
SettledOrder WaitForPayment(store::StoreManager& manager, OrderPayment& payment,
                            const RecordedOrder& order) {
  using std::chrono::steady_clock;
  const Spinner spinner("Waiting for the shop to confirm the payment …");
  const auto end = steady_clock::now() + kMaxWait;
  while (true) {
    const SettledOrder settled = SettleOrder(manager, payment, order);
    if (settled.outcome.state != State::kPending || steady_clock::now() > end) return settled;
    const auto next = steady_clock::now() + kPollPeriod;
    while (steady_clock::now() < next) {
      if (InterruptHandler::Caught()) return settled;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
  }
}

/// Reports a payment that has ended for now. Throws CommandError unless the order is placed.
void ReportPayment(const SettledOrder& settled) {
  const auto& [state, failure, placed] = settled.outcome;
  if (state == State::kPlaced) {
    std::string when, date, time;
    if (store::ConvertDateTime(placed, date, time)) when = " on " + date + " at " + time;
    Screen::Out().PrintLine("Paid. The order was placed" + when + ".", Style::kSuccess);
    Screen::Out().PrintLine("Get the books with \"quire download --all\".");
    return;
  }
  const std::string text = DescribeOrder(settled);
  if (InterruptHandler::Caught()) throw CommandError(kInterrupted, "Stopped. " + text);
  if (failure) throw CommandError(ToCommandError("", failure).code, text);
  throw CommandError(kFailed, text);
}

/// Reserves payments for this command. Throws CommandError when another process pays.
class PaymentScope {
 public:
  explicit PaymentScope(Session& session) : session_(session) {
    const FileLock::State state = session.payment_lock.emplace().state();
    if (state == FileLock::State::kHeld) return;
    session.payment_lock.reset();
    if (state == FileLock::State::kBusy) {
      throw CommandError(kFailed, "Another quire is paying. Wait until it has ended.");
    }
    throw CommandError(kDevice,
                       "The record of your orders cannot be locked, so nothing was paid. Check the "
                       "permissions of the device's configuration directory.");
  }
  ~PaymentScope() { session_.payment_lock.reset(); }
  PaymentScope(const PaymentScope&) = delete;
  PaymentScope& operator=(const PaymentScope&) = delete;

 private:
  Session& session_;
};

void Pay(Session& session, const std::string& method, bool again) {
  store::StoreManager& manager = session.LoggedInStore();
  const PaymentScope scope(session);
  const InterruptHandler interrupts;
  const auto settled = session.SettleOpenOrder();
  const bool may_be_paid = settled && (settled->outcome.state == State::kPaid ||
                                       settled->outcome.state == State::kUnknown);
  if (may_be_paid) return ReportPayment(*settled);
  const bool was_placed = settled && settled->outcome.state == State::kPlaced;
  if (was_placed && manager.GetCart().GetSize() == 0) return;
  const auto open = ReadOrderJournal().FindOpen(manager.getLogin());
  RecordedOrder order = open ? *open : CreateOrder(session, method, again);
  if (open) {
    Screen::Out().PrintLine("Taking up your " + NameOrder(order) +
                            " again: it is one order and is charged once.");
    order.method = method;
  }
  if (InterruptHandler::Caught()) {
    throw CommandError(kInterrupted, "Stopped. The payment was not started.");
  }
  Record(order);
  OrderPayment payment(manager);
  try {
    RunBrowser(payment, order, !open);
  } catch (const CommandError&) {
    if (open) Record(*open);  // an earlier page was for the earlier method
    throw;
  }
  const SettledOrder paid = WaitForPayment(manager, payment, order);
  if (paid.HasEnded()) session.order_is_priced = false;
  if (paid.outcome.state == State::kPlaced) session.cart_numbering.clear();
  ReportPayment(paid);
}

void CheckOrder(Session& session) {
  store::StoreManager& manager = session.LoggedInStore();
  const auto settled = session.SettleOpenOrder();
  if (!settled) {
    const auto open = ReadOrderJournal().FindOpen(manager.getLogin());
    if (open) throw CommandError(kFailed, "Another quire is paying. Wait until it has ended.");
    return Screen::Out().PrintLine("No order is open: every payment has ended.");
  }
  if (settled->HasEnded()) return;
  if (settled->outcome.state != State::kPending) {
    const store::Failure& failure = settled->outcome.failure;
    throw CommandError(failure ? ToCommandError("", failure).code : kFailed,
                       "Order " + settled->order.id + " has not ended.");
  }
  const PaymentScope scope(session);
  const InterruptHandler interrupts;
  OrderPayment payment(manager);
  ReportPayment(WaitForPayment(manager, payment, settled->order));
}

/// Asks a question that is answered with "yes". Throws CommandError when it is not.
void Confirm(const std::string& question) {
  if (!isatty(STDIN_FILENO)) {
    throw CommandError(kUsage, question + " Confirm with --yes.");
  }
  Screen::Out().PrintLine(question);
  Screen::Out().Write("Type \"yes\" to go on: ");
  std::string answer;
  std::getline(std::cin, answer);
  if (answer != "yes") throw CommandError(kFailed, "Nothing was changed.");
}

void CancelOrder(Session& session, bool is_confirmed) {
  session.LoggedInStore();
  const PaymentScope scope(session);
  const auto settled = session.SettleOpenOrder();
  if (!settled) return Screen::Out().PrintLine("No order is open: every payment has ended.");
  if (settled->HasEnded()) return;
  if (settled->outcome.state == State::kPaid) {
    throw CommandError(kFailed, "A paid order cannot be given up.");
  }
  const RecordedOrder& order = settled->order;
  if (!is_confirmed) {
    Confirm("Give up " + NameOrder(order) +
            "? The shop is not told: if you have paid for it or still do, you have to ask the shop "
            "for the books, and paying for the same titles again charges you a second time.");
  }
  if (!ReadOrderJournal().Remove(order)) {
    throw CommandError(kDevice,
                       "The record of the order could not be removed. Check whether the storage is "
                       "full.");
  }
  session.order_is_priced = false;
  Screen::Out().PrintLine("Gave up order " + order.id + ". The cart is kept.");
}

/// The date of a server's timestamp; another string unchanged.
std::string FormatTimestamp(const std::string& timestamp) {
  std::string date, time;
  return store::ConvertDateTime(timestamp, date, time) ? date : timestamp;
}

std::string FormatDate(const RecordedOrder& order) {
  if (!order.placed.empty()) return FormatTimestamp(order.placed);
  char text[16];
  const std::time_t started = order.started_s;
  std::tm local{};
  localtime_r(&started, &local);
  std::strftime(text, sizeof text, "%d.%m.%Y", &local);
  return text;
}

struct OrderView {
  std::string id, date, titles, total;
  std::vector<std::string> eans;
  bool is_open = false;
};

OrderView ToView(const RecordedOrder& order) {
  OrderView view{order.id, FormatDate(order), {}, order.total, {}, false};
  view.is_open = order.state == RecordedOrder::State::kOpen;
  for (const RecordedOrder::Title& title : order.titles) {
    view.titles += (view.titles.empty() ? "" : "; ") + title.title;
    view.eans.push_back(title.ean);
  }
  return view;
}

/// The orders that the shop's list names and the device has not recorded.
std::vector<OrderView> GroupByOrder(const std::vector<store::Book>& bought,
                                    const std::vector<OrderView>& known) {
  struct Group {
    OrderView view;
    std::int64_t hundredths = 0;
    std::string currency;
  };
  std::map<std::string, Group> groups;
  for (const store::Book& book : bought) {
    const std::string id = GetString(book, store::Book::kOrderId);
    const bool is_known =
        std::any_of(known.begin(), known.end(), [&](const auto& each) { return each.id == id; });
    if (is_known) continue;
    Group& group = groups[id];
    group.view.id = id;
    group.view.date = FormatTimestamp(MakePrintable(GetString(book, store::Book::kDate)));
    group.view.titles += (group.view.titles.empty() ? "" : "; ") + DisplayTitle(book);
    group.view.eans.push_back(GetString(book, store::Book::kEan));
    const auto price = book.int_props.find(store::Book::kPrice);
    if (price != book.int_props.end()) group.hundredths += price->second;
    group.currency = GetString(book, store::Book::kCurrency);
  }
  std::vector<OrderView> views;
  for (auto& [id, group] : groups) {
    group.view.total = FormatPrice(group.hundredths, group.currency);
    views.push_back(std::move(group.view));
  }
  std::reverse(views.begin(), views.end());  // the latest first
  return views;
}

void ShowOrders(Session& session, bool as_json) {
  const std::vector<store::Book> bought = session.PurchasedBooks();
  const std::string user = session.Store().getLogin();
  const OrderJournal journal = ReadOrderJournal();
  std::vector<OrderView> orders;
  if (const auto open = journal.FindOpen(user)) orders.push_back(ToView(*open));
  for (const RecordedOrder& order : journal.FindPlaced(user)) orders.push_back(ToView(order));
  for (OrderView& order : GroupByOrder(bought, orders)) orders.push_back(std::move(order));
  Json json = Json::array();
  Table table({{"Order"}, {"Date"}, {"Titles", 16}, {"Total", 0, true}, {"State"}});
  for (const OrderView& order : orders) {
    json.push_back({{"id", StringOrNull(order.id)},
                    {"date", StringOrNull(order.date)},
                    {"total", StringOrNull(order.total)},
                    {"state", order.is_open ? "open" : "placed"},
                    {"eans", order.eans}});
    table.AddRow({order.id.empty() ? "-" : order.id, order.date, order.titles, order.total,
                  order.is_open ? "open" : "placed"});
  }
  if (as_json) return PrintJson(json);
  if (!orders.empty()) return table.Print();
  Screen::Out().PrintLine("You have ordered nothing yet.");
}

}  // namespace

void AddCheckoutCommands(CLI::App& cli, Session& session) {
  const auto again = std::make_shared<bool>(false);
  const auto is_confirmed = std::make_shared<bool>(false);
  constexpr char kAgain[] = "Also buy titles that are yours already once more";

  AddListing(cli, "checkout", "Have the cart priced by the shop", [&session, again](bool as_json) {
    CheckOut(session, *again, as_json);
  })->add_flag("--again", *again, kAgain);

  CLI::App* pay = cli.add_subcommand("pay", "Pay for the cart in the browser");
  pay->require_subcommand(1);
  const auto add_method = [&](const char* name, const char* description, const char* method) {
    CLI::App* command = pay->add_subcommand(name, description);
    command->add_flag("--again", *again, kAgain);
    command->callback([&session, again, method] { Pay(session, method, *again); });
  };
  add_method("paypal", "By PayPal", "PAYPAL");
  add_method("card", "By credit card", "CCARD");

  CLI::App* orders = AddListing(cli, "orders", "List your orders, or ask about an open one",
                                [&session](bool as_json) { ShowOrders(session, as_json); });
  orders->add_subcommand("check", "Ask the shop about the order whose payment is open")
      ->callback([&session] { CheckOrder(session); });
  CLI::App* cancel = orders->add_subcommand("cancel", "Give up the order whose payment is open");
  cancel->add_flag("--yes", *is_confirmed, "Without a question");
  cancel->callback([&session, is_confirmed] { CancelOrder(session, *is_confirmed); });
}

}  // namespace app
