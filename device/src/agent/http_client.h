/// \file
/// One visit of one address.

#ifndef DEVICE_AGENT_HTTP_CLIENT_H_
#define DEVICE_AGENT_HTTP_CLIENT_H_

#include <curl/curl.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "page.h"

namespace agent {

struct Visit {
  std::string address;
  bool post = false;
  std::string body;  ///< form-encoded, of a POST
};

struct Answer {
  long status = 0;
  std::string location;  ///< of a redirect: absolute, http or https
  std::string charset;
  std::string body;
};

/// The text is one sentence for people.
struct VisitError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// A browser's connections and cookies. TLS is always verified, against TABULET_CA_FILE if that is
/// set; connections go where TABULET_CONNECT_TO says.
class HttpClient {
 public:
  HttpClient();
  /// Follows no redirect. Throws VisitError.
  Answer Perform(const Visit& visit);
  /// What pressing a button leads to. Throws VisitError.
  Visit Submit(const std::string& page_address, const Form& form, const Button& button);

 private:
  struct Free {
    void operator()(CURL* curl) const { curl_easy_cleanup(curl); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  };

  std::string Encode(const FormData& data);

  std::unique_ptr<curl_slist, Free> connect_to_;
  std::unique_ptr<CURL, Free> curl_;
};

/// `reference` as `base` means it; empty where that is no http or https address.
std::string Resolve(const std::string& base, const std::string& reference);

}  // namespace agent

#endif  // DEVICE_AGENT_HTTP_CLIENT_H_
