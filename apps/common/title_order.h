#ifndef QUIRE_APPS_COMMON_TITLE_ORDER_H_
#define QUIRE_APPS_COMMON_TITLE_ORDER_H_

#include <string>
#include <vector>

#include "catalogue.h"

namespace app {

/// Sorts titles: by title and author as the user's language does, by price the cheapest first and
/// those without one last, each currency for itself, by date the newest first. Keeps the order of
/// equal ones.
void SortTitles(std::vector<CatalogueEntry>& entries, CatalogueQuery::Order order);

/// Whether the shop's folded name of an order, such as "newest first", means `order`.
bool IsOrderName(const std::string& folded_name, CatalogueQuery::Order order);

/// Whether a title has the folded format; an empty one means any.
bool HasFormat(const CatalogueEntry& entry, const std::string& folded_format);

/// Whether a language's code, such as "de" or "de-AT", is meant by a code or by a name in English,
/// in that language or in the user's.
bool IsLanguage(const std::string& code, const std::string& named);

}  // namespace app

#endif  // QUIRE_APPS_COMMON_TITLE_ORDER_H_
