#ifndef DEVSHOP_CONFIGURATION_SERVICE_H_
#define DEVSHOP_CONFIGURATION_SERVICE_H_

#include <deque>
#include <mutex>
#include <set>
#include <string>

#include "http_message.h"

namespace devshop {

/// The device maker's service that tells a device its shop, for requests signed with the devices'
/// key and a nonce never used before. Any thread.
class ConfigurationService {
 public:
  static const std::string kPath;

  void Handle(const Request& request, Response& response);

 private:
  /// What is wrong with the request; empty when nothing is.
  std::string FindMistake(const Request& request);
  /// False when it was used before.
  bool UseNonce(const std::string& nonce);

  std::mutex mutex_;
  std::set<std::string> used_nonces_;
  std::deque<std::string> nonces_by_age_;
};

}  // namespace devshop

#endif  // DEVSHOP_CONFIGURATION_SERVICE_H_
