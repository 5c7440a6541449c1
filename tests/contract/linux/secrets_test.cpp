#include <memory>

#include "support/suite.h"

namespace {

constexpr char kSecret[] = "correct horse battery";
const std::string kKeyPath = "/mnt/ext1/system/.device_key";

class LinuxSecret : public testing::Test {
 protected:
  LinuxSecret() { RemoveKey(); }
  ~LinuxSecret() override {
    EXPECT_EQ(ReadAll(LogPath()).find("horse"), std::string::npos);
    RemoveKey();
  }
  static void RemoveKey() {
    fs::remove_all(kKeyPath);
    fs::remove_all(kKeyPath + ".bad");
  }

  const TemporaryDirectory directory_;
  const Config config_{directory_ / "test.cfg"};
};

TEST_F(LinuxSecret, CreatesDeviceKeyAtFirstUse) {
  EXPECT_EQ(config_.Secret("password"), "absent");
  EXPECT_FALSE(fs::exists(kKeyPath));
  WriteSecret(config_, "password", kSecret);
  EXPECT_EQ(fs::file_size(kKeyPath), 32U);
  EXPECT_EQ(fs::status(kKeyPath).permissions(), fs::perms(0600));
  const std::string key = ReadAll(kKeyPath);
  WriteSecret(config_, "password", "other");
  EXPECT_EQ(ReadAll(kKeyPath), key);
  EXPECT_EQ(ReadAll(LogPath()).find(key.substr(0, 4)), std::string::npos);
}

TEST_F(LinuxSecret, BindsValueToKeyAndIgnoresDamaged) {
  WriteSecret(config_, "other", kSecret);
  const std::string others = config_.Read("other");
  WriteSecret(config_, "password", kSecret);
  const std::string sealed = config_.Read("password");
  std::string damaged = sealed;
  damaged[damaged.size() / 2] = damaged[damaged.size() / 2] == 'A' ? 'B' : 'A';
  for (const std::string& value : {others, damaged, sealed.substr(0, sealed.size() - 4),
                                   sealed.substr(0, 12), std::string(kSecret), std::string()}) {
    WriteString(config_, "password", value.c_str());
    EXPECT_EQ(config_.Secret("password"), "absent") << value;
  }
  EXPECT_NE(ReadAll(LogPath()).find("counts as absent"), std::string::npos);
  WriteString(config_, "password", sealed.c_str());
  EXPECT_EQ(config_.Secret("password"), kSecret);
  WriteSecret(config_, "password", kSecret);
  EXPECT_NE(config_.Read("password"), sealed);
}

TEST_F(LinuxSecret, SharesOneDeviceKeyBetweenPrograms) {
  for (int round = 0; round < 5; ++round) {
    RemoveKey();
    std::vector<std::unique_ptr<ForkedProcess>> children;
    for (int i = 0; i < 8; ++i) {
      children.push_back(std::make_unique<ForkedProcess>([this, i] {
        const Config config(directory_ / std::to_string(i));
        WriteSecret(config, "password", kSecret);
        return SaveConfig(config);
      }));
    }
    for (int i = 0; i < 8; ++i) {
      EXPECT_EQ(children[i]->Wait(), 1);
      EXPECT_EQ(Config(directory_ / std::to_string(i)).Secret("password"), kSecret);
    }
  }
}

TEST_F(LinuxSecret, ProtectsKeyAndMovesDamagedOneAside) {
  WriteSecret(config_, "password", kSecret);
  fs::permissions(kKeyPath, fs::perms(0666));
  EXPECT_EQ(config_.Secret("password"), kSecret);
  EXPECT_EQ(fs::status(kKeyPath).permissions(), fs::perms(0600));
  EXPECT_NE(ReadAll(LogPath()).find("other users could read " + kKeyPath), std::string::npos);

  WriteString(config_, "password", config_.Read("password").c_str());
  const std::string damaged = ReadAll(kKeyPath).substr(0, 5);
  WriteAll(kKeyPath, damaged);
  EXPECT_EQ(config_.Secret("password"), "absent");
  EXPECT_EQ(ReadAll(kKeyPath), damaged) << "reading must not change it";
  WriteSecret(config_, "other", "new secret");
  EXPECT_EQ(config_.Secret("other"), "new secret");
  EXPECT_EQ(ReadAll(kKeyPath + ".bad"), damaged);
}

TEST_F(LinuxSecret, RemovesOldValueAndRetriesWhenEncryptionFails) {
  WriteSecret(config_, "password", "old");
  fs::remove(kKeyPath);
  fs::create_symlink("/proc/self/mem", kKeyPath);  // reading it fails with EIO
  WriteSecret(config_, "password", "new");
  EXPECT_EQ(config_.Secret("password"), "absent");
  EXPECT_EQ(ReadString(config_, "password", nullptr), nullptr);
  EXPECT_EQ(SaveConfig(config_), 0) << "a password that is lost is not saved";
  EXPECT_EQ(ReadAll(directory_ / "test.cfg"), "");
  EXPECT_TRUE(fs::is_symlink(kKeyPath)) << "secrets may depend on the key";

  fs::remove(kKeyPath);
  EXPECT_EQ(SaveConfig(config_), 1);
  EXPECT_EQ(Config(directory_ / "test.cfg").Secret("password"), "new");
}

}  // namespace
