#ifndef DEVSHOP_CONFIGURATION_SERVICE_H_
#define DEVSHOP_CONFIGURATION_SERVICE_H_

#include <deque>
#include <mutex>
#include <set>
#include <string>

#include "http_message.h"

namespace devshop {

/// The device maker's configuration service. It answers requests that are signed with the devices'
/// key and carry an unused nonce. Thread-safe.
class ConfigurationService {
 public:
  static const std::string kPath;

  void Handle(const Request& request, Response& response);

 private:
  /// The reason to refuse the request; empty when it is granted.
  std::string CheckRequest(const Request& request);
  /// False when the nonce was used before.
  bool UseNonce(const std::string& nonce);

  std::mutex mutex_;
  std::set<std::string> used_nonces_;
  std::deque<std::string> nonces_by_age_;
};

}  // namespace devshop

#endif  // DEVSHOP_CONFIGURATION_SERVICE_H_
