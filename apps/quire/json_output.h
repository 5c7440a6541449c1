#ifndef QUIRE_APP_JSON_OUTPUT_H_
#define QUIRE_APP_JSON_OUTPUT_H_

#include <nlohmann/json.hpp>
#include <string>

#include "opds_feed.h"
#include "session.h"

namespace app {

/// JSON that keeps the order of its members.
using Json = nlohmann::ordered_json;

/// Writes `json` to the standard output as SerializeJson returns it.
void PrintJson(const Json& json);

/// Serializes `json` with indentation. Invalid UTF-8 becomes U+FFFD, control characters escapes.
std::string SerializeJson(const Json& json);

/// A book's "ean", "title", "author", "format", "price_hundredths", "currency" and "date"; null
/// where unknown.
Json BookToJson(const store::Book& book);

/// A title of the catalogue: the same without "date", "formats" in place of "format", and
/// "needs_adobe", "language", "subject", "published", "summary" and "page_url".
Json EntryToJson(const CatalogueEntry& entry);

}  // namespace app

#endif  // QUIRE_APP_JSON_OUTPUT_H_
