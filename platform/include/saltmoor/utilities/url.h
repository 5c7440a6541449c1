#ifndef SALTMOOR_UTILITIES_URL_H_
#define SALTMOOR_UTILITIES_URL_H_

#include <map>
#include <string>

namespace saltmoor::utilities {

/// The query part of a URL. Accepts every string. Not thread-safe.
class Url {
 public:
  /// Parses `url`, which is not validated.
  explicit Url(const std::string& url);

  /// The part between the first '?' and the fragment ('#'), still encoded; empty if there is none.
  std::string GetQuery() const;

  /// Splits a query into decoded fields. '+' is decoded as a space; an invalid escape is unchanged.
  /// A field without '=' has an empty value. If a name occurs more than once, the first field
  /// counts.
  static std::map<std::string, std::string> ParseQuery(const std::string& query);

 private:
  std::string query_;
};

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_URL_H_
