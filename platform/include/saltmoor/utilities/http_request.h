#ifndef SALTMOOR_UTILITIES_HTTP_REQUEST_H_
#define SALTMOOR_UTILITIES_HTTP_REQUEST_H_

#include <string>
#include <utility>
#include <vector>

namespace saltmoor::utilities {

/// An HTTP request: a method, a URL and parameters. HttpRequestRunner performs it. A copyable
/// value; not thread-safe.
class HttpRequest {
 public:
  /// Names and values in the order in which they were added. A name may occur more than once.
  using Parameters = std::vector<std::pair<std::string, std::string>>;

  /// Does not validate its arguments: performing an invalid request fails.
  /// \param method  "GET" or "POST".
  /// \param url  absolute, http or https.
  HttpRequest(const std::string& method, const std::string& url);

  /// Adds a parameter to the query string. When the request is performed, names and values are
  /// percent-encoded except for letters, digits and `-._~`, as in the signature.
  void AddGetParam(const std::string& key, const std::string& value);
  /// Adds a number in decimal digits.
  void AddGetParam(const std::string& key, int value);

  /// Adds a parameter to the form in the body of a POST, encoded like the query string.
  void AddPostParam(const std::string& key, const std::string& value);
  /// Adds a number in decimal digits.
  void AddPostParam(const std::string& key, int value);

  /// Adds a header. Performing the request fails if the name or the value has a line break, or the
  /// name is empty or has a colon. Redirects carry the headers, also to another host.
  void AddHeader(const std::string& name, const std::string& value);

  /// Sets whether the runner follows redirects; by default it does not.
  void SetFollowRedirects(bool on);

  /// The method as given. The references that this and the next calls return are valid until the
  /// request changes.
  const std::string& GetMethod() const;
  /// The URL as given, without the parameters of AddGetParam.
  const std::string& GetUrl() const;
  /// Whether the runner follows redirects.
  bool GetFollowRedirects() const;
  /// The parameters of AddGetParam, not encoded.
  const Parameters& GetGetParams() const;
  /// The parameters of AddPostParam, not encoded.
  const Parameters& GetPostParams() const;
  /// The headers of AddHeader.
  const Parameters& GetHeaders() const;

 private:
  std::string method_;
  std::string url_;
  Parameters get_params_;
  Parameters post_params_;
  Parameters headers_;
  bool follow_redirects_ = false;
};

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_HTTP_REQUEST_H_
