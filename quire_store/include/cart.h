#ifndef QUIRE_CART_H_
#define QUIRE_CART_H_

#include <json/value.h>

#include <string>
#include <vector>

#include "book.h"
#include "quire_export.h"

namespace saltmoor::quire {

/// The shopping cart: the books that the user means to buy, in the order added, and the header that
/// the server gave it. It is kept in "/mnt/ext1/system/config/quire_cart"; the same JSON shape is
/// what the server answers.
///
/// A plain value: an object belongs on one thread at a time. Books are told apart by their EAN; a
/// missing EAN counts as the empty one. No operation reports failure or throws for any content.
class QUIRE_EXPORT Cart {
 public:
  /// Replaces the items with those of the cart file, and the header with what of it the file can
  /// give back. Without a readable file the cart is empty and keeps its header.
  void Load();

  /// Writes the cart file; the old content stays whole until the new one is, where the file system
  /// allows. A file that cannot be written, or a full disk, is passed over in silence.
  void Save();

  /// Removes all items and saves.
  void Clear();

  /// Appends a copy of `book` and saves; does neither when its EAN is in the cart already.
  void AddToCart(const Book& book);

  /// Whether an item has exactly this EAN.
  bool IsContain(std::string ean) const;

  /// Removes the item at `index` and saves; out of range, does neither.
  void RemoveFromCart(unsigned int index);

  /// Removes the first item with the book's EAN and saves; without one, does neither.
  void RemoveFromCart(const Book& book);

  /// The item at `index`, valid until the cart changes; out of range, one shared empty record that
  /// stays valid.
  const Book& GetItem(unsigned int index) const;

  /// How many items there are.
  unsigned int GetSize() const;

  /// Sets Book::kCurrency of every item, in memory.
  void SetItemsCurrency(const std::string& currency);

  /// Replaces the items, and the header as far as `json` holds it. In memory.
  void FromJson(const Json::Value& json);

  /// The content of the cart file.
  Json::Value ToJson() const;

  /// The items' prices added up, in currency units; quantities do not count. The sum is kept in 32
  /// bits of hundredths.
  double GetTotalPrice() const;

  /// The total for display, such as "12,99 EUR": always with a comma, with the first item's
  /// currency behind it; "0" for an empty cart.
  std::string GetTotalPriceFormatted() const;

  std::vector<Book> orderItems;  ///< the items, in the order added
  std::string orderId;           ///< the server's number of the order
  std::string opdsSessionId;     ///< the session that the cart came with
  std::string userID;            ///< the owner, as the server names them
  std::string cartLastChange;    ///< the server's timestamp; not read back from the file
  double orderAmount = 0.0;  ///< the server's total in currency units; not read back from the file
};

/// Splits the server's timestamp for display.
/// \param input  "%Y-%m-%d %H:%M:%S"; what follows the seconds is ignored.
/// \param date  receives "%d.%m.%Y".
/// \param time  receives "%H:%M", in the server's time zone.
/// \return false, with `date` and `time` untouched, when `input` is no such timestamp. Any thread.
QUIRE_EXPORT bool ConvertDateTime(const std::string& input, std::string& date, std::string& time);

}  // namespace saltmoor::quire

#endif  // QUIRE_CART_H_
