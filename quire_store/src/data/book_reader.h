#ifndef QUIRE_BOOK_READER_H_
#define QUIRE_BOOK_READER_H_

#include <string>
#include <utility>

#include "book.h"
#include "book_properties.h"
#include "file_names.h"
#include "json.h"

namespace saltmoor::quire {

/// Breaks a timestamp into two lines between day and time; another date gets "| " after its first
/// space.
std::string FormatDate(std::string date);

/// The price in cents; 0 when it is no number.
std::int64_t ParseCents(const std::string& price);

/// Reads a book from the members of a JSON object: the one place that knows how.
/// \param find_member  returns a pointer to the member of a key, null when there is none. ToString
///     and GetInt64 convert what it points to.
template <typename FindMember>
Book ReadBook(const FindMember& find_member) {
  Book book;
  for (const auto& [key, property] : Book::s_book_int_map) {
    if (const auto* const value = find_member(key)) {
      book.int_props[property] = GetInt64(*value).value_or(0);
    }
  }
  // Compatibility: of two keys of one property the later one in byte order wins.
  for (const auto& [key, property] : Book::s_book_string_map) {
    if (const auto* const value = find_member(key)) book.string_props[property] = ToString(*value);
  }
  if (const auto* const price = find_member(kPriceKey)) {
    book.int_props[Book::kPrice] = ParseCents(ToString(*price));
  }

  // Compatibility: dates are stored in their form for display.
  std::string& date = book.string_props[Book::kDate];
  date = FormatDate(std::move(date));
  std::string& format = book.string_props[Book::kEbookFormat];
  if (std::string extension = ExtentionByMime(format); !extension.empty()) {
    format = std::move(extension);
  }
  return book;
}

}  // namespace saltmoor::quire

#endif  // QUIRE_BOOK_READER_H_
