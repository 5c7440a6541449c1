#include "json_output.h"

#include "screen.h"
#include "text.h"

namespace app {
namespace {

Json StringOrNull(const std::string& text) {
  return text.empty() ? Json() : Json(text);
}

}  // namespace

std::string SerializeJson(const Json& json) {
  const std::string text = json.dump(2, ' ', false, Json::error_handler_t::replace);
  std::string out;
  out.reserve(text.size() + 1);
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const auto next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0;
    const bool is_c1_control = byte == 0xC2 && next >= 0x80 && next < 0xA0;  // U+0080 to U+009F
    if (!is_c1_control && byte != 0x7F) {
      out += text[i];
      continue;
    }
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", is_c1_control ? next : byte);
    out += escape;
    if (is_c1_control) ++i;
  }
  return out + "\n";
}

void PrintJson(const Json& json) {
  Screen::Out().Write(SerializeJson(json));
}

Json BookToJson(const store::Book& book) {
  const auto text = [&](store::Book::StringProps property) {
    return StringOrNull(GetString(book, property));
  };
  const auto price = book.int_props.find(store::Book::kPrice);
  return {{"ean", text(store::Book::kEan)},
          {"title", text(store::Book::kTitle)},
          {"author", text(store::Book::kAuthor)},
          {"format", text(store::Book::kEbookFormat)},
          {"price_hundredths", price == book.int_props.end() ? Json() : Json(price->second)},
          {"currency", text(store::Book::kCurrency)},
          {"date", StringOrNull(MakePrintable(GetString(book, store::Book::kDate)))}};
}

Json EntryToJson(const CatalogueEntry& entry) {
  Json json = {
      {"ean", StringOrNull(entry.ean)},           {"title", StringOrNull(entry.title)},
      {"author", StringOrNull(entry.author)},     {"formats", Json::array()},
      {"needs_adobe", entry.needs_adobe},         {"price_hundredths", Json()},
      {"currency", StringOrNull(entry.currency)}, {"language", StringOrNull(entry.language)},
      {"subject", StringOrNull(entry.subject)},   {"published", StringOrNull(entry.published)},
      {"summary", StringOrNull(entry.summary)},   {"page_url", StringOrNull(entry.page_url)}};
  if (entry.price_hundredths) json["price_hundredths"] = *entry.price_hundredths;
  const std::string& formats = entry.formats;
  for (std::size_t at = 0; at < formats.size();) {
    const std::size_t end = std::min(formats.find(',', at), formats.size());
    json["formats"].push_back(formats.substr(at, end - at));
    at = end + 1;
  }
  return json;
}

}  // namespace app
