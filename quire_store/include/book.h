#ifndef QUIRE_BOOK_H_
#define QUIRE_BOOK_H_

#include <json/value.h>

#include <cstdint>
#include <map>
#include <string>

#include "quire_export.h"
#include "saltmoor/utilities/smart_bitmap.h"

namespace saltmoor::quire {

/// One title of the shop: an item of a cart, a line of an order or a bought e-book, as a set of
/// properties. A property that the server did not send is absent and counts as "" or 0. A book is
/// identified by its EAN, StringProps::kEan.
///
/// A value type, not thread-safe. No operation fails or throws for any content.
class QUIRE_EXPORT Book {
 public:
  /// Properties that are strings as the server sent them, numbers and flags included. The values
  /// are fixed; no JSON key maps to a reserved one.
  enum StringProps : int {
    kEan = 0,  ///< the title's identity
    kTitle = 1,
    kAuthor = 2,
    kThumbnail = 3,  ///< address of a small cover image
    kReserved4 = 4,
    kEbookFormat = 5,   ///< a file extension such as "epub"; the server's string if that is no
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

  /// Properties that are signed 64-bit integers.
  enum IntProps : int {
    kPrice = 0,  ///< in hundredths of the currency unit
  };

  Book() = default;                        ///< no properties
  Book(const Book&) = default;             ///< member by member
  Book(Book&&) = default;                  ///< member by member
  Book& operator=(const Book&) = default;  ///< member by member
  /// Moves the properties and copies the cover.
  Book& operator=(Book&& other) noexcept;
  ~Book() = default;

  /// Reads an item of the server's responses or of the cart file; without properties if it is no
  /// object. Dates are rewritten for display and MIME types to file extensions; kDate and
  /// kEbookFormat are always present. A price is a string or an integer in currency units; a string
  /// that is no number counts as 0.
  static Book FromJson(const Json::Value& json);

  /// The item of the cart file: every property under each of its keys, and always "orderItemPrice",
  /// in currency units with six significant digits.
  Json::Value ToJson() const;

  /// JSON key to property, in the order in which FromJson and ToJson use them; several keys may map
  /// to one property. An application may add rows before it uses the library on several threads.
  static std::map<std::string, StringProps> s_book_string_map;

  /// JSON key to integer property. Empty unless the application adds rows; the price is read
  /// without it.
  static std::map<std::string, IntProps> s_book_int_map;

  std::map<IntProps, std::int64_t> int_props;       ///< absent: not sent
  std::map<StringProps, std::string> string_props;  ///< absent: not sent

  utilities::SmartBitmap cover;  ///< for the application; the library only copies it
  std::int32_t aux_word = 0;     ///< for the application; the library only copies it
};

}  // namespace saltmoor::quire

#endif  // QUIRE_BOOK_H_
