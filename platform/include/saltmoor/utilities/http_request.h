#ifndef SALTMOOR_UTILITIES_HTTP_REQUEST_H_
#define SALTMOOR_UTILITIES_HTTP_REQUEST_H_

#include <string>
#include <utility>
#include <vector>

namespace saltmoor::utilities {

/// One HTTP request, before it is performed: a method, an address and parameters. A plain value;
/// an object belongs on one thread at a time. HttpRequestRunner performs it.
class HttpRequest {
 public:
  /// Names and values, in the order in which they were added; a name may occur more than once.
  using Parameters = std::vector<std::pair<std::string, std::string>>;

  /// Neither is checked here: performing a request with a bad one fails.
  /// \param method  "GET" or "POST".
  /// \param url  absolute, http or https.
  HttpRequest(const std::string& method, const std::string& url);

  /// Adds a field of the query string. When the request is performed, names and values are
  /// percent-encoded but for letters, digits and `-._~`, as the signature has them.
  void AddGetParam(const std::string& key, const std::string& value);
  /// The same for a number, as its decimal digits.
  void AddGetParam(const std::string& key, int value);

  /// Adds a field of the form that is a POST's body, encoded in the same way.
  void AddPostParam(const std::string& key, const std::string& value);
  /// The same for a number, as its decimal digits.
  void AddPostParam(const std::string& key, int value);

  /// Whether the runner follows redirects. Off by default.
  void SetFollowRedirects(bool on);

  /// The method as given. What this and the next calls return is valid until the request changes.
  const std::string& GetMethod() const;
  /// The address as given, without the fields added with AddGetParam.
  const std::string& GetUrl() const;
  /// What SetFollowRedirects set.
  bool GetFollowRedirects() const;
  /// What AddGetParam added, not encoded.
  const Parameters& GetGetParams() const;
  /// What AddPostParam added, not encoded.
  const Parameters& GetPostParams() const;

 private:
  std::string method_;
  std::string url_;
  Parameters get_params_;
  Parameters post_params_;
  bool follow_redirects_ = false;
};

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_HTTP_REQUEST_H_
