#ifndef QUIRE_APPS_COMMON_SEARCH_TEXT_H_
#define QUIRE_APPS_COMMON_SEARCH_TEXT_H_

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace app {

/// `text` as searches compare it: case, accents, vowel points and compatibility forms do not
/// matter, "ß" is "ss", and both small sigmas are the same. Invalid UTF-8 becomes U+FFFD.
std::string FoldForSearch(std::string_view text);

/// The words of `text`, folded for a search.
std::vector<std::string> FoldWords(std::string_view text);

/// A language's names for a search: its code with and without a region, and its names in English,
/// in itself and in the user's language, folded. Only the code when it is unknown.
std::vector<std::string> FoldLanguageNames(const std::string& code);

/// Orders strings as the user's language does. Not thread-safe.
class Collation {
 public:
  /// For the language that the environment names (LC_ALL, LC_COLLATE, LANG).
  Collation();
  ~Collation();
  Collation(const Collation&) = delete;
  Collation& operator=(const Collation&) = delete;

  /// A string of bytes: those of two strings compare as the strings do.
  std::string SortKey(std::string_view text) const;

 private:
  struct Collator;
  std::unique_ptr<Collator> collator_;
};

}  // namespace app

#endif  // QUIRE_APPS_COMMON_SEARCH_TEXT_H_
