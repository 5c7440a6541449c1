#ifndef PLATFORM_LINUX_COMMON_TRANSFER_H_
#define PLATFORM_LINUX_COMMON_TRANSFER_H_

#include <curl/curl.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/common/error.h"

namespace saltmoor::platform {

/// A list of strings for libcurl.
class CurlList {
 public:
  /// \return false, with the list unchanged, if there is no memory.
  [[nodiscard]] bool Append(const std::string& text);
  curl_slist* get() const { return list_.get(); }

 private:
  struct Free {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  };
  std::unique_ptr<curl_slist, Free> list_;
};

/// A parsed URL.
using CurlUrl = std::unique_ptr<CURLU, decltype(&curl_url_cleanup)>;

/// A transfer on a libcurl handle from a pool, whose handles keep their connections.
///
/// Every transfer verifies certificates, applies TABULET_CA_FILE and TABULET_CONNECT_TO, uses
/// only http and https, and follows redirects, if enabled, at most ten times and never from https
/// to http. It uses no proxy, cookies or signals, and logs no TLS keys except in debug builds.
///
/// Not thread-safe; any number of transfers may run concurrently.
class Transfer {
 public:
  Transfer();
  ~Transfer();
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

  /// Sets the URL, which must be absolute, http or https; Perform fails otherwise. Spaces and bytes
  /// above 127 are encoded.
  void SetUrl(const std::string& url);

  /// Sets a libcurl option. Perform fails if libcurl refuses one.
  template <typename Value>
  void Set(CURLoption option, Value value) {
    if (setup_ == CURLE_OK) setup_ = curl_easy_setopt(handle_, option, value);
  }

  /// Makes the transfer fail instead of sending the request again, as libcurl does when a reused
  /// connection ends before the response.
  void DisableResend() { resend_disabled_ = true; }

  /// Makes the transfer fail instead of following a redirect to another host.
  void StayOnHost();

  /// Runs the transfer and waits for its end.
  /// \return a transfer error whose code is an HttpRequestRunner::Error. Its message has a hint on
  ///     how to correct it if there is one.
  Error Perform();

  /// The status of the last response; 0 if there was none.
  int status() const;
  /// The Content-Length of the last response, in bytes; -1 if it has none.
  std::int64_t content_length() const;
  /// A header of the last response; empty if it has none of that name.
  std::string GetHeader(const char* name) const;
  /// All headers of the last response, names in lower case; values of one name are joined with
  /// ", ".
  std::map<std::string, std::string> GetHeaders() const;

  /// The parts of the URL that may be logged: "https://host:port", and the path. Empty if the URL
  /// is invalid.
  const std::string& origin() const { return origin_; }
  const std::string& path() const { return path_; }
  /// The URL that the last redirect led to.
  std::string effective_url() const;
  /// Its path.
  std::string effective_path() const;

 private:
  enum class Refusal { kNone, kResend, kClearText, kOtherHost };

  Error ToError(CURLcode code) const;
  long redirect_count() const;
  CurlUrl ParseEffectiveUrl() const;
  bool LeavesHost() const;
  Refusal CheckRequest();
  static int OnBeforeResolve(void* resolver, void* reserved, void* self);
  static int OnBeforeSend(void* self, char* remote_ip, char* local_ip, int remote_port,
                          int local_port);

  CURL* const handle_;
  CURLcode setup_ = CURLE_OK;
  CurlList connect_to_;
  std::string origin_;
  std::string host_;
  std::string path_;
  char error_[CURL_ERROR_SIZE] = "";
  bool resend_disabled_ = false;
  bool bound_to_host_ = false;
  bool was_encrypted_ = false;
  long send_count_ = 0;
  long redirects_sent_ = 0;  // the redirects that led to the last request
  Refusal refusal_ = Refusal::kNone;
};

/// Returns `key=value` joined by `&`, percent-encoded except for letters, digits and `-._~`.
std::string EncodeFields(const std::vector<std::pair<std::string, std::string>>& fields);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_COMMON_TRANSFER_H_
