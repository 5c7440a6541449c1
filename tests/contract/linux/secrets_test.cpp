#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "support/forked_process.h"
#include "support/suite.h"
#include "support/temporary_directory.h"
#include "tabulet.h"

namespace {

namespace fs = std::filesystem;

constexpr char kSecret[] = "correct horse battery";
constexpr char kKeyPath[] = "/mnt/ext1/system/.device_key";

class LinuxSecret : public testing::Test {
 protected:
  LinuxSecret() { RemoveKey(); }
  ~LinuxSecret() override {
    EXPECT_EQ(ReadAll(LogPath()).find("horse"), std::string::npos);
    CloseConfigNoSave(config_);
    RemoveKey();
  }
  static void RemoveKey() {
    fs::remove_all(kKeyPath);
    fs::remove_all(std::string(kKeyPath) + ".bad");
  }
  std::string Read(const char* key) { return ReadSecret(config_, key, "absent"); }

  const TemporaryDirectory directory_;
  iconfig_s* const config_ = OpenConfig((directory_ / "test.cfg").c_str(), nullptr);
};

TEST_F(LinuxSecret, CreatesDeviceKeyAtFirstUse) {
  EXPECT_EQ(Read("password"), "absent");
  EXPECT_FALSE(fs::exists(kKeyPath));
  WriteSecret(config_, "password", kSecret);
  EXPECT_EQ(fs::file_size(kKeyPath), 32U);
  EXPECT_EQ(fs::status(kKeyPath).permissions(), fs::perms(0600));
  const std::string key = ReadAll(kKeyPath);
  WriteSecret(config_, "password", "other");
  EXPECT_EQ(ReadAll(kKeyPath), key);
  EXPECT_EQ(ReadAll(LogPath()).find(key.substr(0, 4)), std::string::npos);
}

TEST_F(LinuxSecret, BindsValueToItsKey) {
  WriteSecret(config_, "password", kSecret);
  WriteSecret(config_, "other", kSecret);
  const std::string sealed = ReadString(config_, "password", "");
  EXPECT_STRNE(ReadString(config_, "other", ""), sealed.c_str());
  WriteString(config_, "other", sealed.c_str());
  EXPECT_EQ(Read("other"), "absent");
  WriteSecret(config_, "password", kSecret);
  EXPECT_STRNE(ReadString(config_, "password", ""), sealed.c_str());
}

TEST_F(LinuxSecret, TreatsDamagedValueAsAbsent) {
  WriteSecret(config_, "password", kSecret);
  const std::string sealed = ReadString(config_, "password", "");
  std::string damaged = sealed;
  damaged[damaged.size() / 2] = damaged[damaged.size() / 2] == 'A' ? 'B' : 'A';
  for (const std::string& value : {damaged, sealed.substr(0, sealed.size() - 4),
                                   sealed.substr(0, 12), std::string(kSecret), std::string()}) {
    WriteString(config_, "password", value.c_str());
    EXPECT_EQ(Read("password"), "absent") << value;
  }
  EXPECT_NE(ReadAll(LogPath()).find("counts as absent"), std::string::npos);
  WriteString(config_, "password", sealed.c_str());
  EXPECT_EQ(Read("password"), kSecret);
}

TEST_F(LinuxSecret, SharesOneDeviceKeyBetweenPrograms) {
  for (int round = 0; round < 5; ++round) {
    RemoveKey();
    std::vector<std::unique_ptr<ForkedProcess>> children;
    children.reserve(8);
    for (int i = 0; i < 8; ++i) {
      children.push_back(std::make_unique<ForkedProcess>([this, i] {
        iconfig_s* config = OpenConfig((directory_ / std::to_string(i)).c_str(), nullptr);
        WriteSecret(config, "password", kSecret);
        return SaveConfig(config);
      }));
    }
    for (int i = 0; i < 8; ++i) {
      EXPECT_EQ(children[i]->Wait(), 1);
      iconfig_s* config = OpenConfig((directory_ / std::to_string(i)).c_str(), nullptr);
      EXPECT_STREQ(ReadSecret(config, "password", "absent"), kSecret);
      CloseConfig(config);
    }
  }
}

TEST_F(LinuxSecret, MovesDamagedDeviceKeyAside) {
  WriteSecret(config_, "password", kSecret);
  const std::string damaged = ReadAll(kKeyPath).substr(0, 5);
  WriteAll(kKeyPath, damaged);
  EXPECT_EQ(Read("password"), "absent");
  EXPECT_EQ(ReadAll(kKeyPath), damaged) << "reading must not change it";
  WriteSecret(config_, "other", "new secret");
  EXPECT_EQ(Read("other"), "new secret");
  EXPECT_EQ(ReadAll(std::string(kKeyPath) + ".bad"), damaged);
}

TEST_F(LinuxSecret, RemovesOldValueWhenEncryptionFails) {
  WriteSecret(config_, "password", "old");
  fs::remove(kKeyPath);
  fs::create_directory(kKeyPath);
  WriteSecret(config_, "password", "new");
  EXPECT_EQ(Read("password"), "absent");
  EXPECT_EQ(ReadString(config_, "password", nullptr), nullptr);
  EXPECT_TRUE(fs::is_directory(kKeyPath));
}

}  // namespace
