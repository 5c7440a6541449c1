#ifndef DEVSHOP_NAVIGATION_FEEDS_H_
#define DEVSHOP_NAVIGATION_FEEDS_H_

#include <string>

#include "catalogue.h"
#include "opds_document.h"

namespace devshop {

/// The catalogue's sections: all titles, the newest, and the feeds of languages and formats.
std::string SectionsFeed(const Catalogue& catalogue, const FeedSettings& settings);

/// An entry for each language, or format, of the shop's titles.
std::string LanguagesFeed(const Catalogue& catalogue, const FeedSettings& settings);
std::string FormatsFeed(const Catalogue& catalogue, const FeedSettings& settings);

}  // namespace devshop

#endif  // DEVSHOP_NAVIGATION_FEEDS_H_
