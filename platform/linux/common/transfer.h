/// \file
/// What every libcurl transfer of the platform has in common.

#ifndef PLATFORM_LINUX_COMMON_TRANSFER_H_
#define PLATFORM_LINUX_COMMON_TRANSFER_H_

#include <curl/curl.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/common/error.h"
#include "saltmoor/utilities/http_request_runner.h"

namespace saltmoor::platform {

/// A list of texts as libcurl wants it.
class CurlList {
 public:
  /// \return false when memory ran out; the list is as before.
  [[nodiscard]] bool Append(const std::string& text);
  curl_slist* get() const { return list_.get(); }

 private:
  struct Free {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  };
  std::unique_ptr<curl_slist, Free> list_;
};

/// One transfer on a libcurl handle from a small pool whose handles keep their connections.
///
/// What holds for all of them: certificates are verified, against the setting TABULET_CA_FILE in
/// place of the system's authorities when it is set; connections go where TABULET_CONNECT_TO says;
/// only http and https are spoken; of redirects, where they are followed at all, at most ten, and
/// none from https to http; no proxy, cookie or signal is used.
///
/// A transfer belongs on one thread; any number may run at the same time.
class Transfer {
 public:
  Transfer();
  ~Transfer();
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

  /// Sets the address, which must be absolute, http or https. Blanks and bytes above 127 in it are
  /// encoded.
  void SetUrl(const std::string& address);

  /// Sets a libcurl option. The first that libcurl refuses makes Perform fail.
  template <typename Value>
  void Set(CURLoption option, Value value) {
    if (setup_ == CURLE_OK) setup_ = curl_easy_setopt(handle_, option, value);
  }

  /// Makes the transfer fail where libcurl would send the request a second time by itself, as it
  /// does when a kept connection dies before the answer.
  void SendOnce() { send_once_ = true; }

  /// Runs the transfer, up to its end.
  [[nodiscard]] CURLcode Perform();

  /// The status of the last answer; 0 when none came.
  int Status() const;
  /// The announced length of the last answer's body in bytes; -1 when there is none.
  std::int64_t ContentLength() const;
  /// A field of the last answer's head, or null; valid until the next call.
  const char* Header(const char* name) const;
  /// What Perform's result means to a caller of the contract.
  saltmoor::utilities::HttpRequestRunner::Error Classify(CURLcode code) const;
  /// What Perform's result means, in words and with a mend where there is one.
  std::string Explain(CURLcode code) const;

  /// The address in parts that may be logged: "https://host:port", and the path. Empty for a text
  /// that is no address.
  const std::string& origin() const { return origin_; }
  const std::string& path() const { return path_; }

 private:
  enum class Refusal { kNone, kSecondSending, kClearText };

  bool IsRefusedRedirect(CURLcode code) const;
  static int OnBeforeSend(void* self, char* remote_ip, char* local_ip, int remote_port,
                          int local_port);

  CURL* const handle_;
  CURLcode setup_ = CURLE_OK;
  CurlList connect_to_;
  std::string origin_;
  std::string path_;
  char error_[CURL_ERROR_SIZE] = "";
  bool send_once_ = false;
  bool was_encrypted_ = false;
  int send_count_ = 0;
  Refusal refusal_ = Refusal::kNone;
};

/// `key=value` joined by `&`, everything percent-encoded but letters, digits and `-._~`.
std::string EncodeFields(const std::vector<std::pair<std::string, std::string>>& fields);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_COMMON_TRANSFER_H_
