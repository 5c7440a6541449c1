#ifndef QUIRE_APP_TITLE_CHOICE_H_
#define QUIRE_APP_TITLE_CHOICE_H_

#include <functional>
#include <string>
#include <vector>

#include "opds_feed.h"
#include "session.h"
#include "title_cache.h"

namespace app {

/// Among which titles a command chooses.
struct TitleSource {
  /// Returns the titles that may have some words, or all of them.
  std::function<std::vector<NamedTitle>(const std::string& words)> find_words;
  /// What to do when no title is meant, such as "See what you have with …".
  std::string advice;
  /// Returns the id of the title under a number; empty when there is none. By default that of the
  /// last list.
  std::function<std::string(std::size_t number)> find_number = [](std::size_t number) {
    return TitleCache().FindEan(number);
  };
};

/// What a user means by `named`: an EAN, which may have hyphens; the title under a number, with or
/// without "#"; or the one title that has some words, or the only one that has them in its title
/// and author. Every command finds titles here.
/// \return the EAN, which the source need not have, or the title's id. Throws CommandError when no
///     title or more than one is meant.
std::string ChooseTitle(const std::string& named, const TitleSource& source);

/// ChooseTitle for each of `named`.
std::vector<std::string> ChooseTitles(const std::vector<std::string>& named,
                                      const TitleSource& source);

/// Reports that TitleCache::ReplaceList failed.
void PrintListNotStored();

/// The titles of the catalogue that the shop finds for some words. Throws CatalogueError.
std::vector<CatalogueEntry> SearchCatalogue(Session& session, const std::string& words);

/// Each of `named` as the EAN of a title of the catalogue, which is asked for words only.
std::vector<std::string> ChooseFromCatalogue(Session& session,
                                             const std::vector<std::string>& named);

std::vector<NamedTitle> ToNamedTitles(const std::vector<CatalogueEntry>& entries);
std::vector<NamedTitle> ToNamedTitles(const std::vector<store::Book>& books);

/// Those of some titles that have all of the words in title and author.
std::vector<NamedTitle> SelectByWords(std::vector<NamedTitle> titles, const std::string& words);

}  // namespace app

#endif  // QUIRE_APP_TITLE_CHOICE_H_
