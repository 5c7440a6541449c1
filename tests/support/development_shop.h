#ifndef TESTS_SUPPORT_DEVELOPMENT_SHOP_H_
#define TESTS_SUPPORT_DEVELOPMENT_SHOP_H_

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/process.h"

namespace tests {

using Json = nlohmann::json;

/// Runs a development shop on free ports; stopped by the destructor.
class DevelopmentShop {
 public:
  /// Throws std::runtime_error when the shop does not start.
  explicit DevelopmentShop(const Command& options = {});
  ~DevelopmentShop();

  /// The value that was printed for "shop", "config", "control", "token", "ca" or "connect-to".
  const std::string& Address(const std::string& key) const { return addresses_.at(key); }

  /// Sets the environment variables that the Linux platform reads at its first use.
  void Announce() const;

  /// Arms a fault; devshop/README.md lists them.
  void Arm(const Json& fault) const { Control("/_faults", fault); }

  /// How many faults were delivered so far.
  int Delivered() const { return Control("/_faults")["delivered"]; }

  /// Posts to the control port; the test fails when the response has another status.
  Json Control(const std::string& path, const Json& instruction, int status = 200) const;
  /// Gets a path of the control port.
  Json Control(const std::string& path) const;

  /// The recorded requests whose path ends with `path_end`.
  std::vector<Json> Requests(const std::string& path_end) const;

  /// Sends SIGTERM; returns the exit code.
  int Stop();

 private:
  Process process_;
  bool runs_ = true;
  std::map<std::string, std::string> addresses_;
};

}  // namespace tests

#endif  // TESTS_SUPPORT_DEVELOPMENT_SHOP_H_
