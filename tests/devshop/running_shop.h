#ifndef TESTS_DEVSHOP_RUNNING_SHOP_H_
#define TESTS_DEVSHOP_RUNNING_SHOP_H_

#include <gtest/gtest.h>
#include <httplib.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "support/development_shop.h"
#include "support/files.h"

namespace tests {

using Clock = std::chrono::steady_clock;
using Fields = std::vector<std::pair<std::string, std::string>>;

inline const std::string kApi = "/webapp/wcs/stores/servlet";
inline const std::string kAnna = "anna@quire.example";
inline const std::string kBen = "ben@quire.example";
inline const std::string kHost = "https://shop.quire.example";
inline constexpr char kFormType[] = "application/x-www-form-urlencoded";

/// The form that puts these EANs, with their quantities, into the session's cart.
Fields CartForm(const std::string& session, const Fields& quantities);

/// A shop with twelve books in a directory of its own. The books have the EANs "9001" to "9012" and
/// prices of 1.99 to 12.99; 9005 is out of sale, 9003 is a ticket. Anna owns 9001 and 9002.
class RunningShop : public testing::Test {
 protected:
  void SetUp() override { Start(); }

  void Start(const Command& options = {});

  /// A client of the port "shop", "config" or, with its token, "control".
  httplib::Client Client(const std::string& port = "shop") const;

  /// The shop's response; its status is -1 when there is none.
  httplib::Response Get(const std::string& path, const httplib::Headers& headers = {}) const;
  httplib::Response Post(const std::string& path, const Fields& form) const;

  /// Calls the store API; adds "storeId" unless given. Throws std::runtime_error.
  Json Call(const std::string& name, const Fields& form);
  /// The message of a refused call; empty when the call succeeds.
  std::string Refusal(const std::string& name, const Fields& form);
  std::string LogIn(const std::string& user = kAnna);
  /// Commits an order; returns its id and the path of its payment page.
  std::pair<std::string, std::string> Commit(const std::string& session,
                                             const std::vector<std::string>& eans,
                                             const Fields& payment);
  /// Pays by invoice, which needs no page.
  void Buy(const std::string& session, const std::vector<std::string>& eans);
  /// The path of a book that Anna bought.
  std::string FilePath(const std::string& ean);

  TemporaryDirectory directory_;
  std::optional<DevelopmentShop> shop_;
};

}  // namespace tests

#endif  // TESTS_DEVSHOP_RUNNING_SHOP_H_
