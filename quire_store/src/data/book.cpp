#include "book.h"

#include <cmath>
#include <cstdint>
#include <utility>

#include "book_properties.h"
#include "book_reader.h"
#include "json.h"

namespace saltmoor::quire {

std::int64_t ParseCents(const std::string& price) {
  constexpr double kInt64End = 9223372036854775808.0;
  const double cents = ParseNumber(price) * 100.0;
  return std::abs(cents) < kInt64End ? std::llround(cents) : 0;
}

std::string FormatDate(std::string date) {
  const std::size_t colon = date.find(':');
  const std::size_t before_time =
      colon == std::string::npos ? std::string::npos : date.rfind(' ', colon);
  if (before_time != std::string::npos) return date.replace(before_time, 1, "\n");
  const std::size_t gap = date.find(' ');
  if (gap != std::string::npos) date.insert(gap + 1, "| ");
  return date;
}

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
  if (!json.isObject()) return {};
  return ReadBook([&json](const std::string& key) { return FindMember(json, key); });
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
