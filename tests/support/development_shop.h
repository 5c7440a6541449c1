#ifndef TESTS_SUPPORT_DEVELOPMENT_SHOP_H_
#define TESTS_SUPPORT_DEVELOPMENT_SHOP_H_

#include <json/value.h>

#include <string>
#include <vector>

#include "support/child_process.h"

namespace tests {

/// A development shop of the test's own, on ports that the system picked. Its addresses are put
/// into the environment, where the Linux platform finds them, so it must be made before the
/// platform's first use.
class DevelopmentShop {
 public:
  explicit DevelopmentShop(const std::vector<std::string>& options = {});

  /// Has the next requests of a path go wrong; see the shop's own description of its faults.
  void Arm(const Json::Value& fault);

  /// How many faults were delivered so far.
  int Delivered();

  /// Sends any other command to the control port, "/_orders" or "/_books".
  void Control(const std::string& path, const Json::Value& command);

  /// Every request so far whose path ends so, as the shop's ledger tells it.
  std::vector<Json::Value> Requests(const std::string& path_end);

  const std::string& authority_file() const { return authority_file_; }

 private:
  Json::Value Get(const std::string& path);

  ChildProcess process_;
  std::string control_;
  std::string authority_file_;
};

}  // namespace tests

#endif  // TESTS_SUPPORT_DEVELOPMENT_SHOP_H_
