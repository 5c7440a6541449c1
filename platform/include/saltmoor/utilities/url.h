#ifndef SALTMOOR_UTILITIES_URL_H_
#define SALTMOOR_UTILITIES_URL_H_

#include <map>
#include <string>

namespace saltmoor::utilities {

/// A web address, taken apart. Any text is allowed and nothing throws. An object belongs on one
/// thread at a time.
class Url {
 public:
  /// Takes a copy of the address apart; it is not checked.
  explicit Url(const std::string& address);

  /// What stands between the first '?' and the fragment ('#'), still encoded; empty when there is
  /// no query.
  std::string GetQuery() const;

  /// Splits a query into its fields, decoded ('+' is a blank, a broken escape stays as it is). A
  /// field without '=' has an empty value; of fields with one name the first counts.
  static std::map<std::string, std::string> ParseQuery(const std::string& query);

 private:
  std::string query_;
};

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_URL_H_
