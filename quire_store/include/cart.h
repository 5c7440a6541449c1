#ifndef QUIRE_CART_H_
#define QUIRE_CART_H_

#include <json/value.h>

#include <string>
#include <vector>

#include "book.h"
#include "quire_export.h"

namespace saltmoor::quire {

/// The shopping cart: the books to buy, in the order added, and the header that the server
/// assigned. It is stored in "/mnt/ext1/system/config/quire_cart", in the JSON form of the server's
/// responses.
///
/// A value type, not thread-safe. Books are identified by their EAN; a missing EAN counts as the
/// empty one. No operation reports failure or throws for any content.
class QUIRE_EXPORT Cart {
 public:
  /// Replaces the items with those of the cart file, and the header except `cartLastChange` and
  /// `orderAmount`. Without a readable file the cart has no items and keeps its header.
  void Load();

  /// Replaces the cart file, atomically if the file system allows it. Silent on failure.
  void Save();

  /// Removes all items and saves.
  void Clear();

  /// Appends a copy of `book` and saves; does nothing when its EAN is in the cart.
  void AddToCart(const Book& book);

  /// Whether an item has exactly this EAN.
  bool IsContain(std::string ean) const;

  /// Removes the item at `index` and saves; does nothing when out of range.
  void RemoveFromCart(unsigned int index);

  /// Removes the first item with the book's EAN and saves; does nothing when there is none.
  void RemoveFromCart(const Book& book);

  /// The item at `index`, valid until the cart changes; when out of range, a book without
  /// properties, valid for the life of the process.
  const Book& GetItem(unsigned int index) const;

  /// The number of items.
  unsigned int GetSize() const;

  /// Sets Book::kCurrency of every item. Does not save.
  void SetItemsCurrency(const std::string& currency);

  /// Replaces the items, and the header if `json` has one. Does not save.
  void FromJson(const Json::Value& json);

  /// The content of the cart file.
  Json::Value ToJson() const;

  /// The sum of the items' prices in currency units, without quantities; computed in hundredths
  /// with 32 bits.
  double GetTotalPrice() const;

  /// The total for display, such as "12,99 EUR": with a comma and the first item's currency; "0"
  /// for an empty cart.
  std::string GetTotalPriceFormatted() const;

  std::vector<Book> orderItems;  ///< the items, in the order added
  std::string orderId;           ///< the server's number of the order
  std::string opdsSessionId;     ///< the session in which the server sent the cart
  std::string userID;            ///< the owner
  std::string cartLastChange;    ///< the server's timestamp; not read back from the file
  double orderAmount = 0.0;  ///< the server's total in currency units; not read back from the file
};

/// Splits a timestamp of the server for display. Thread-safe.
/// \param input  "%Y-%m-%d %H:%M:%S"; characters after the seconds are ignored.
/// \param date  receives "%d.%m.%Y".
/// \param time  receives "%H:%M", in the server's time zone.
/// \return false, with `date` and `time` unchanged, when `input` is no such timestamp.
QUIRE_EXPORT bool ConvertDateTime(const std::string& input, std::string& date, std::string& time);

}  // namespace saltmoor::quire

#endif  // QUIRE_CART_H_
