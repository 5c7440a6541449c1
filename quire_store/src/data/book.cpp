#include "book.h"

#include <cmath>
#include <cstdint>
#include <utility>

#include "book_properties.h"
#include "file_names.h"
#include "json.h"

namespace saltmoor::quire {
namespace {

std::int64_t ParseCents(const std::string& text) {
  constexpr double kInt64End = 9223372036854775808.0;
  const double cents = ParseNumber(text) * 100.0;
  return std::abs(cents) < kInt64End ? std::llround(cents) : 0;
}

// Breaks a timestamp into two lines between day and time; another date gets "| " after its first
// space.
std::string FormatDate(std::string date) {
  const std::size_t colon = date.find(':');
  const std::size_t before_time =
      colon == std::string::npos ? std::string::npos : date.rfind(' ', colon);
  if (before_time != std::string::npos) return date.replace(before_time, 1, "\n");
  const std::size_t gap = date.find(' ');
  if (gap != std::string::npos) date.insert(gap + 1, "| ");
  return date;
}

}  // namespace

std::map<std::string, Book::StringProps> Book::s_book_string_map{
    {"orderItemEAN", kEan},
    {"orderItemEan", kEan},
    {"orderItemTitle", kTitle},
    {"orderItemAuthor", kAuthor},
    {"orderItemThumbnail", kThumbnail},
    {"orderItemEbookCover", kThumbnail},
    {"orderItemEbookType", kEbookFormat},
    {"orderItemEbookFormat", kEbookFormat},
    {"orderItemDate", kDate},
    {"orderItemEbookLink", kEbookLink},
    {"orderItemAvailabilityNumber", kAvailability},
    {"productPageURL", kProductPageUrl},
    {"orderItemEbookDrm", kEbookDrm},
    {"orderItemId", kItemId},
    {"orderItemQuantity", kQuantity},
    {"orderItemIsEbook", kIsEbook},
    {"orderId", kOrderId},
    {"currency", kCurrency},
    {"orderImageUrl", kImageUrl},
};

std::map<std::string, Book::IntProps> Book::s_book_int_map;

Book& Book::operator=(Book&& other) noexcept {
  int_props = std::move(other.int_props);
  string_props = std::move(other.string_props);
  cover = other.cover;
  aux_word = other.aux_word;
  return *this;
}

Book Book::FromJson(const Json::Value& json) {
  Book book;
  if (!json.isObject()) return book;

  for (const auto& [key, property] : s_book_int_map) {
    if (const Json::Value* const value = FindMember(json, key)) {
      book.int_props[property] = GetInt64(*value).value_or(0);
    }
  }
  // Compatibility: of two keys of one property the later one in byte order wins.
  for (const auto& [key, property] : s_book_string_map) {
    if (const Json::Value* const value = FindMember(json, key)) {
      book.string_props[property] = ToString(*value);
    }
  }
  if (const Json::Value* const price = FindMember(json, kPriceKey)) {
    book.int_props[kPrice] = ParseCents(ToString(*price));
  }

  // Compatibility: dates are stored in their form for display.
  std::string& date = book.string_props[kDate];
  date = FormatDate(date);
  std::string& format = book.string_props[kEbookFormat];
  if (std::string extension = ExtentionByMime(format); !extension.empty()) {
    format = std::move(extension);
  }
  return book;
}

std::string FormatPrice(const Book& book) {
  const auto price = book.int_props.find(Book::kPrice);
  const std::int64_t cents = price != book.int_props.end() ? price->second : 0;
  return FormatNumber(static_cast<double>(cents) / 100.0);
}

Json::Value Book::ToJson() const {
  Json::Value json(Json::objectValue);
  for (const auto& [key, property] : s_book_int_map) {
    const auto value = int_props.find(property);
    if (value != int_props.end()) json[key] = static_cast<Json::Int64>(value->second);
  }
  for (const auto& [key, property] : s_book_string_map) {
    const auto value = string_props.find(property);
    if (value != string_props.end()) json[key] = value->second;
  }
  json[kPriceKey] = FormatPrice(*this);
  return json;
}

}  // namespace saltmoor::quire
