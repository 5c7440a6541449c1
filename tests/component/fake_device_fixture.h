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

inline const std::string kConfigFolder = "/mnt/ext1/system/config";
inline const std::string kConfigPath = kConfigFolder + "/quire_config.cfg";
inline const std::string kSwitchboardPath = kConfigFolder + "/switchboard.json";
inline const std::string kCartPath = kConfigFolder + "/quire_cart";
inline const std::string kSwitchboardUrl =
    "http://" QUIRE_CONFIG_HOST "/api/config/v1/get-device-opds-config";

/// What the shop is told of the pages to return to.
inline const std::string kReturnPage = "http://" QUIRE_RETURN_HOST "/QUIRESaltmoor?status=";
inline const std::string kReturnPages =
    "&success_url=" + kReturnPage + "success&cancel_url=" + kReturnPage + "cancel";

inline const std::string kStoreApi = "https://" QUIRE_SHOP_HOST "/webapp/wcs/stores/servlet";

// Unmistakable, so that the journal can be searched for them.
inline const std::string kPassword = "pass-w0rd";
inline const std::string kSession = "SESSION-71";

/// A configuration that names the store 4711.
inline const std::string kSwitchboardAnswer =
    R"({"clientId":" C-9 ","shopName":"\tThe Shop\n",)"
    R"("opdsUrl":{"OPDSStartPage":"https://shop/de/4711/opds/start"}})";

Lines ListFiles(const std::string& folder);  ///< sorted
Json::Value ParseJson(const std::string& text);
/// "ok" or "failed", and the message.
std::string Describe(const ServerApi::Result& result);
Book MakeBook(const std::string& ean, const std::string& author = "",
              const std::string& title = "");

/// From here on this process has no rights but those of a file's owner, be it root or not.
void DropPrivileges();

/// A test on a device of its own, empty at the start. At its end no handle is open, nothing was
/// misused and no record of the log holds a secret.
class FakeDeviceFixture : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  /// Answers for every call that a start makes, and stored credentials.
  void PrepareStart();
  /// Makes the books of this answer ("response" of "/getUserEbook") the bought ones.
  void SetPurchased(const std::string& books_json);

  /// The one manager. CTest runs each test in a process of its own.
  StoreManager& manager() { return StoreManager::Instance(); }
};

}  // namespace saltmoor::quire

#endif  // QUIRE_TESTS_FAKE_DEVICE_FIXTURE_H_
