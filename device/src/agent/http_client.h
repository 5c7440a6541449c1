/// \file
/// Requests of the browser, one URL at a time.

#ifndef DEVICE_AGENT_HTTP_CLIENT_H_
#define DEVICE_AGENT_HTTP_CLIENT_H_

#include <curl/curl.h>

#include <memory>
#include <optional>
#include <string>

#include "page.h"
#include "url.h"

namespace agent {

struct Request {
  Url url;
  bool post = false;
  std::string body;  ///< form-encoded; empty unless `post`
};

struct Response {
  long status = 0;
  std::optional<Url> location;  ///< of a redirect
  std::string charset;
  std::string body;
};

/// The browser's connections and cookies. TLS is always verified, against TABULET_CA_FILE if it is
/// set; connections follow TABULET_CONNECT_TO. The functions throw std::runtime_error with one
/// sentence for the user. Not thread-safe.
class HttpClient {
 public:
  HttpClient();
  /// Does not follow redirects.
  Response Send(const Request& request);
  /// The request that submits a page's form with a button.
  Request BuildSubmission(const Url& page_url, const Form& form, const Button& button);

 private:
  struct CurlDeleter {
    void operator()(CURL* curl) const { curl_easy_cleanup(curl); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  };

  std::string EncodeForm(const Form& form, const Button& button);

  std::unique_ptr<curl_slist, CurlDeleter> connect_to_;
  std::unique_ptr<CURL, CurlDeleter> curl_;
};

}  // namespace agent

#endif  // DEVICE_AGENT_HTTP_CLIENT_H_
