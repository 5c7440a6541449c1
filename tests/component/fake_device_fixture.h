#ifndef QUIRE_TESTS_FAKE_DEVICE_FIXTURE_H_
#define QUIRE_TESTS_FAKE_DEVICE_FIXTURE_H_

#include <gtest/gtest.h>
#include <json/value.h>
#include <json/writer.h>

#include <string>

#include "book.h"
#include "fake_device.h"
#include "store_manager.h"
#include "support/files.h"
#include "support/process.h"

namespace saltmoor::quire {

using fake::device;
using fake::Lines;
using tests::Exists;
using tests::ReadFile;
using tests::WriteFile;
using tests::operator+;

inline const std::string kConfigDirectory = "/mnt/ext1/system/config";
inline const std::string kConfigPath = kConfigDirectory + "/quire_config.cfg";
inline const std::string kSwitchboardPath = kConfigDirectory + "/switchboard.json";
inline const std::string kCartPath = kConfigDirectory + "/quire_cart";
inline const std::string kSwitchboardUrl =
    "http://" QUIRE_CONFIG_HOST "/api/config/v1/get-device-opds-config";

/// The addresses that a payment page returns to, as the shop receives them.
inline const std::string kReturnPage = "http://" QUIRE_RETURN_HOST "/QUIRESaltmoor?status=";
inline const std::string kReturnPages =
    "&success_url=" + kReturnPage + "success&cancel_url=" + kReturnPage + "cancel";

inline const std::string kStoreApi = "https://" QUIRE_SHOP_HOST "/webapp/wcs/stores/servlet";

// Distinct, so that the calls can be searched for them.
inline const std::string kPassword = "pass-w0rd";
inline const std::string kSession = "SESSION-71";

inline const std::string kRefusal =
    R"({"error":"true","response":{"ErrorMsg":"no","errorMsg":"no"}})";

/// A configuration with the store id 4711.
inline const std::string kSwitchboardResponse =
    R"({/* a note */"clientId":" C-9 ","shopName":"\tThe Shop\n",)"
    R"("opdsUrl":{"OPDSStartPage":"https://shop/de/4711/opds/start"}})";

std::string Repeat(const std::string& text, int times);
Lines ListFiles(const std::string& directory);  ///< sorted
Json::Value ParseJson(const std::string& text);
/// "ok" or "failed", and the message.
std::string Describe(const ServerApi::Result& result);
/// What failed and, after it, the values that are set: "status 503". Empty for none.
std::string Describe(const Failure& failure);
Book MakeBook(const std::string& ean, const std::string& author = "",
              const std::string& title = "");

/// Drops all capabilities of this process, so that the rights of files apply to root too.
void DropPrivileges();

/// Provides an empty fake device. At the end of the test no handle is open, nothing was misused and
/// no line of the log contains a secret.
class FakeDeviceFixture : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  /// Sets responses to every request of Init, and stored credentials.
  void PrepareStart();
  /// Loads these books ("response" of "/getUserEbook") as the bought ones.
  void SetPurchased(const std::string& books_json);

  std::string LastFailure() { return Describe(manager().GetLastFailure()); }

  /// The only manager. CTest runs each test in a process of its own.
  StoreManager& manager() { return StoreManager::Instance(); }
};

}  // namespace saltmoor::quire

#endif  // QUIRE_TESTS_FAKE_DEVICE_FIXTURE_H_
