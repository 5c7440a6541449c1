#ifndef TESTS_SUPPORT_DEVELOPMENT_SHOP_H_
#define TESTS_SUPPORT_DEVELOPMENT_SHOP_H_

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/process.h"

namespace tests {

using Json = nlohmann::json;

/// A development shop of the test's own, on ports that the system picked.
class DevelopmentShop {
 public:
  /// Throws std::runtime_error where it does not start.
  explicit DevelopmentShop(const Command& options = {});
  ~DevelopmentShop();

  /// By the keys that the program prints: "shop", "config", "control", "token", "ca", "connect-to".
  const std::string& Address(const std::string& key) const { return addresses_.at(key); }

  /// Puts the addresses into the environment. The Linux platform reads them at its first use.
  void Announce() const;

  /// Has the next request of a path go wrong; see the shop's own description of its faults.
  void Arm(const Json& fault) const { Control("/_faults", fault); }

  /// How many faults were delivered so far.
  int Delivered() const { return Control("/_faults")["delivered"]; }

  /// Sends an instruction to the control port; the test fails where its answer has another status.
  Json Control(const std::string& path, const Json& instruction, int status = 200) const;
  /// What the control port has under a path.
  Json Control(const std::string& path) const;

  /// Every request so far whose path ends so, as the shop's ledger tells it.
  std::vector<Json> Requests(const std::string& path_end) const;

  /// Asks it to end. Its exit code.
  int Stop();

 private:
  Process process_;
  bool runs_ = true;
  std::map<std::string, std::string> addresses_;
};

}  // namespace tests

#endif  // TESTS_SUPPORT_DEVELOPMENT_SHOP_H_
