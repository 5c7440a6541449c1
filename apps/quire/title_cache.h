#ifndef QUIRE_APP_TITLE_CACHE_H_
#define QUIRE_APP_TITLE_CACHE_H_

#include <map>
#include <string>
#include <vector>

#include "state_file.h"

namespace app {

/// The titles that the user has seen in a list, by EAN, kept in a file of the application: for
/// completion, and for commands that do not ask the shop.
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

  /// Adds titles by their EANs and replaces the file if that changes it. When there are too many,
  /// earlier ones are dropped. A failure is ignored: the next list is another chance.
  void Add(const std::vector<std::pair<std::string, std::string>>& titles, bool are_bought);

 private:
  std::string file_;
  std::map<std::string, Title> titles_;
};

}  // namespace app

#endif  // QUIRE_APP_TITLE_CACHE_H_
