#ifndef QUIRE_APP_TITLE_CHOICE_H_
#define QUIRE_APP_TITLE_CHOICE_H_

#include <functional>
#include <string>
#include <vector>

#include "session.h"

namespace app {

/// A title as users name it.
struct NamedTitle {
  std::string ean;
  std::string title;
  std::string author;
};

/// The titles that the last listing showed under numbers, kept in a file of the application.
class LastList {
 public:
  explicit LastList(std::string file = "/mnt/ext1/system/config/quire_last_list.json")
      : file_(std::move(file)) {}

  /// Replaces the list and the file (mode 0600).
  /// \param first_number  of the first title; the others follow.
  /// \return false when the file could not be written.
  [[nodiscard]] bool Replace(std::size_t first_number, const std::vector<NamedTitle>& titles) const;

  /// The EAN of the title under a number; empty when there is none.
  std::string FindEan(std::size_t number) const;

 private:
  std::string file_;
};

/// The EAN of the title that a user names: by an EAN, which may have hyphens; by a number of the
/// last list, with or without "#"; or by words that only one title has, or only one in its title
/// and author. Throws CommandError when no title or more than one is meant. \param find  returns
/// the titles that have some words. \param advice  what to do when no title is meant, such as "See
/// what you have with …".
std::string ChooseTitle(
    const std::string& named, const LastList& list,
    const std::function<std::vector<NamedTitle>(const std::string& words)>& find,
    const std::string& advice);

/// Each of `named` as the EAN of a title of the catalogue, which is asked for words only.
std::vector<std::string> ChooseFromCatalogue(Session& session,
                                             const std::vector<std::string>& named);

/// Those of some books that have all of the words in title, author or EAN.
std::vector<NamedTitle> FindByWords(const std::vector<store::Book>& books,
                                    const std::string& words);

}  // namespace app

#endif  // QUIRE_APP_TITLE_CHOICE_H_
