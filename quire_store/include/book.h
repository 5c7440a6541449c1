#ifndef QUIRE_BOOK_H_
#define QUIRE_BOOK_H_

#include <json/value.h>

#include <cstdint>
#include <map>
#include <string>

#include "quire_export.h"
#include "saltmoor/utilities/smart_bitmap.h"

namespace saltmoor::quire {

/// One title of the shop: an item of a cart, a line of an order, a bought e-book. A bag of
/// properties; one that the server did not send is absent, and readers take it as "" or 0. Its
/// identity everywhere is the EAN text, StringProps::kEan.
///
/// A plain value: an object belongs on one thread at a time. No operation fails or throws for any
/// content.
class QUIRE_EXPORT Book {
 public:
  /// Properties kept as the server's text, numbers and flags included. The values are fixed; no
  /// JSON key reaches the reserved ones.
  enum StringProps : int {
    kEan = 0,  ///< the title's identity
    kTitle = 1,
    kAuthor = 2,
    kThumbnail = 3,  ///< address of a small cover image
    kReserved4 = 4,
    kEbookFormat = 5,   ///< a file extension such as "epub", or the server's text if it is no
                        ///< known MIME type
    kDate = 6,          ///< for display, broken into two lines or parts
    kEbookLink = 7,     ///< address of the file
    kAvailability = 8,  ///< the shop's number for it
    kProductPageUrl = 9,
    kEbookDrm = 10,  ///< the kind of protection
    kItemId = 11,    ///< the line's number in its cart or order
    kReserved12 = 12,
    kReserved13 = 13,
    kQuantity = 14,
    kIsEbook = 15,  ///< "true" for an e-book
    kOrderId = 16,
    kCurrency = 17,  ///< of the price, such as "EUR"
    kImageUrl = 18,  ///< address of a cover image
  };

  /// Properties kept as signed 64-bit integers.
  enum IntProps : int {
    kPrice = 0,  ///< in hundredths of the currency unit
  };

  Book() = default;                        ///< no properties
  Book(const Book&) = default;             ///< member by member
  Book(Book&&) = default;                  ///< member by member
  Book& operator=(const Book&) = default;  ///< member by member
  /// Moves the properties; the cover is copied, so that the source keeps it.
  Book& operator=(Book&& other) noexcept;
  ~Book() = default;

  /// Reads an item of the server's answers or of the cart file. Anything but an object gives an
  /// empty record. Dates are rewritten for display and MIME types to file extensions; afterwards
  /// kDate and kEbookFormat are always present. A price is a text or an integer in currency units;
  /// a text that is no number gives 0.
  static Book FromJson(const Json::Value& json);

  /// The item object of the cart file: every property under each of its keys, and always
  /// "orderItemPrice", in currency units with six significant digits.
  Json::Value ToJson() const;

  /// JSON key to property; several keys may name one. FromJson and ToJson walk it in key order. An
  /// application may add rows, before it uses the library on several threads.
  static std::map<std::string, StringProps> s_book_string_map;

  /// JSON key to integral property. Empty unless the application adds rows; the price has a key of
  /// its own.
  static std::map<std::string, IntProps> s_book_int_map;

  std::map<IntProps, std::int64_t> int_props;       ///< absent: not sent
  std::map<StringProps, std::string> string_props;  ///< absent: not sent

  utilities::SmartBitmap cover;  ///< for the application; the library carries it along
  std::int32_t aux_word = 0;     ///< for the application; the library carries it along
};

}  // namespace saltmoor::quire

#endif  // QUIRE_BOOK_H_
