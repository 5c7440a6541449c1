#ifndef QUIRE_APP_TITLE_CACHE_H_
#define QUIRE_APP_TITLE_CACHE_H_

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "state_file.h"

namespace app {

/// A title as users name it.
struct NamedTitle {
  std::string id;  ///< its EAN, or another name that only it has, such as "#2"
  std::string title;
  std::string author;
};

/// The titles that the user has seen in a list, by EAN, and the numbers of the last list, kept in a
/// file of the application: for completion, and for commands that do not ask the shop.
class TitleCache {
 public:
  struct Title {
    std::string text;
    bool is_bought = false;
  };

  /// Reads the file; one that is missing or damaged has no titles.
  explicit TitleCache(std::string file = std::string(kStateDirectory) + "quire_titles.json");

  const std::map<std::string, Title>& titles() const { return titles_; }

  /// The title of an EAN; empty when it is unknown.
  std::string Find(const std::string& ean) const;

  /// The EAN of the title under a number of the last list; empty when there is none.
  std::string FindEan(std::size_t number) const;

  /// Adds titles by their EANs, numbers them instead of those of the last list, and replaces the
  /// file (mode 0600). When there are too many, earlier titles are dropped.
  /// \param first_number  of the first title; the others follow.
  /// \return false when the file could not be written.
  [[nodiscard]] bool ReplaceList(std::size_t first_number, const std::vector<NamedTitle>& titles,
                                 bool are_bought);

 private:
  void Insert(const std::vector<NamedTitle>& titles, bool are_bought);
  bool Save() const;

  std::string file_;
  std::map<std::string, Title> titles_;
  std::size_t first_number_ = 1;
  std::vector<std::string> list_;  // EANs by number; empty for a title without one
};

}  // namespace app

#endif  // QUIRE_APP_TITLE_CACHE_H_
