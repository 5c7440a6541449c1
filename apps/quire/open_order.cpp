#include "open_order.h"

#include "book_view.h"
#include "command_error.h"
#include "failure_text.h"
#include "screen.h"

namespace app {
namespace {

constexpr char kJournal[] = "/mnt/ext1/system/config/quire_orders.json";
constexpr char kUndecided[] =
    " \"quire orders check\" asks the shop again, \"quire pay\" opens its payment page again, and "
    "\"quire orders cancel\" gives it up.";

void RemovePlacedTitles(store::StoreManager& manager, const RecordedOrder& order) {
  for (const RecordedOrder::Title& title : order.titles) {
    store::Book book;
    book.string_props[store::Book::kEan] = title.ean;
    manager.RemoveFromCart(book);
  }
}

void EndOrder(store::StoreManager& manager, SettledOrder& settled) {
  OrderJournal journal = ReadOrderJournal();
  bool is_written = false;
  if (settled.outcome.state == OrderPayment::State::kPlaced) {
    RemovePlacedTitles(manager, settled.order);
    manager.LoadPurchased();
    settled.order.state = RecordedOrder::State::kPlaced;
    settled.order.placed = settled.outcome.placed;
    is_written = journal.Put(settled.order);
  } else {
    is_written = journal.Remove(settled.order);
  }
  if (!is_written) {
    PrintError("That order " + settled.order.id +
               " has ended could not be stored; the next start asks the shop about it again. Check "
               "whether the device's storage is full.");
  }
}

}  // namespace

PaymentLock::PaymentLock() : FileLock(std::string(kJournal) + ".lock") {}

OrderJournal ReadOrderJournal() {
  OrderJournal journal(kJournal);
  if (!journal.is_known()) {
    throw CommandError(kDevice, std::string("The record of your orders cannot be read. Check the "
                                            "permissions of ") +
                                    kJournal + ".");
  }
  if (journal.was_damaged()) {
    Screen::Err().PrintLine(
        std::string("The record of your orders was damaged and is now ") + kJournal +
            ".bad. If you were paying, check with \"quire books\" before you pay again.",
        Style::kError);
  }
  return journal;
}

SettledOrder SettleOrder(store::StoreManager& manager, OrderPayment& payment,
                         const RecordedOrder& order) {
  SettledOrder settled{order, payment.Settle(order)};
  if (settled.HasEnded()) EndOrder(manager, settled);
  return settled;
}

std::string NameOrder(const RecordedOrder& order) {
  std::string text = "order " + order.id + " (";
  if (!order.titles.empty()) text += QuoteTitle(order.titles.front().title);
  if (order.titles.size() > 1) text += " and " + std::to_string(order.titles.size() - 1) + " more";
  return text + ", " + order.total + ")";
}

std::string DescribeOrder(const SettledOrder& settled) {
  const std::string name = NameOrder(settled.order);
  const std::string reason = " (" + DescribeFailure(settled.outcome.failure) + "). ";
  switch (settled.outcome.state) {
    case OrderPayment::State::kPlaced:
      return "Your " + name + " is paid and placed. Get the books with \"quire download --all\".";
    case OrderPayment::State::kNotPaid:
      return "Your " + name +
             " was not paid: the shop reports that the payment was cancelled or failed. The cart "
             "is kept.";
    case OrderPayment::State::kPending:
      return "The shop has not confirmed the payment of your " + name + " yet." + kUndecided;
    case OrderPayment::State::kInProgress:
      return "Your " + name + " is open: the shop waits for its payment." + kUndecided;
    case OrderPayment::State::kRefused:
      return "Your " + name + " has not ended" + reason + (kUndecided + 1);
    case OrderPayment::State::kPaid:
      return "Your " + name + " is paid, but could not be placed yet" + reason +
             "\"quire orders check\" tries again; do not pay for its titles elsewhere.";
    case OrderPayment::State::kUnknown:
      break;
  }
  return "Whether your " + name + " was paid is unknown" + reason +
         "\"quire orders check\" asks the shop again.";
}

}  // namespace app
