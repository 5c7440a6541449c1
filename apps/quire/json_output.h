#ifndef QUIRE_APP_JSON_OUTPUT_H_
#define QUIRE_APP_JSON_OUTPUT_H_

#include <nlohmann/json.hpp>
#include <string>

#include "opds_feed.h"
#include "session.h"

namespace app {

/// JSON whose members stay in the order written.
using Json = nlohmann::ordered_json;

/// Writes `json` to the standard output. Bytes that are no UTF-8 become U+FFFD, and every control
/// character an escape.
void PrintJson(const Json& json);

/// The text of PrintJson.
std::string SerializeJson(const Json& json);

/// "ean", "title", "author", "format", "price_hundredths", "currency", "date": what a listing tells
/// of a book; null where the shop did not say.
Json BookToJson(const store::Book& book);

/// The same of a title of the catalogue, with "formats", "needs_adobe", "language", "summary" and
/// "page_url".
Json EntryToJson(const CatalogueEntry& entry);

}  // namespace app

#endif  // QUIRE_APP_JSON_OUTPUT_H_
