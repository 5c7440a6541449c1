#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <climits>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "child.h"
#include "device_folder.h"
#include "tabulet.h"

namespace {

struct Closer {
  void operator()(iconfig_s* config) const { CloseConfigNoSave(config); }
};
using Config = std::unique_ptr<iconfig_s, Closer>;

Config Open(const std::string& path) {
  return Config(OpenConfig(path.c_str(), nullptr));
}

class ConfigFiles : public testing::Test {
 protected:
  const DeviceFolder folder_;
  const std::string path_ = folder_ / "test.cfg";
};

TEST_F(ConfigFiles, MissingFileIsCreatedAndKeepsWhatIsSaved) {
  {
    const Config config = Open(path_);
    ASSERT_TRUE(config);
    EXPECT_TRUE(std::filesystem::exists(path_));
    EXPECT_STREQ(ReadString(config.get(), "user", "nobody"), "nobody");
    WriteString(config.get(), "user", "anna");
    WriteInt(config.get(), "time", -1800);
    WriteSecret(config.get(), "password", "secret");
    EXPECT_STREQ(ReadString(config.get(), "user", ""), "anna");
    EXPECT_EQ(SaveConfig(config.get()), 1);
    WriteString(config.get(), "user", "not saved");
  }
  const Config config = Open(path_);
  EXPECT_STREQ(ReadString(config.get(), "user", ""), "anna");
  EXPECT_EQ(ReadInt(config.get(), "time", 0), -1800);
  EXPECT_STREQ(ReadSecret(config.get(), "password", ""), "secret");
}

TEST_F(ConfigFiles, CloseSavesWhatIsUnsavedAndOnlyThat) {
  iconfig_s* config = OpenConfig(path_.c_str(), nullptr);
  WriteString(config, "key", "mine");
  CloseConfig(config);
  ASSERT_STREQ(ReadString(Open(path_).get(), "key", ""), "mine");

  iconfig_s* reader = OpenConfig(path_.c_str(), nullptr);
  const Config writer = Open(path_);
  WriteString(writer.get(), "key", "another's");
  ASSERT_EQ(SaveConfig(writer.get()), 1);
  CloseConfig(reader);
  EXPECT_STREQ(ReadString(Open(path_).get(), "key", ""), "another's");
}

TEST_F(ConfigFiles, NullHandlesReadFallbacksAndIgnoreWrites) {
  EXPECT_STREQ(ReadString(nullptr, "key", "fallback"), "fallback");
  EXPECT_STREQ(ReadSecret(nullptr, "key", "fallback"), "fallback");
  EXPECT_EQ(ReadString(nullptr, "key", nullptr), nullptr);
  EXPECT_EQ(ReadInt(nullptr, "key", 7), 7);
  WriteString(nullptr, "key", "x");
  WriteSecret(nullptr, "key", "x");
  WriteInt(nullptr, "key", 1);
  EXPECT_EQ(SaveConfig(nullptr), 0);
  CloseConfig(nullptr);
  CloseConfigNoSave(nullptr);

  const Config config = Open(path_);
  EXPECT_EQ(ReadString(config.get(), "absent", nullptr), nullptr);
  EXPECT_EQ(ReadSecret(config.get(), "absent", nullptr), nullptr);
  WriteString(config.get(), "null", nullptr);
  WriteSecret(config.get(), "null secret", nullptr);
  EXPECT_STREQ(ReadString(config.get(), "null", "fallback"), "");
  EXPECT_STREQ(ReadSecret(config.get(), "null secret", "fallback"), "");
}

TEST_F(ConfigFiles, AnyTextSurvivesAsKeyAndAsValue) {
  const std::vector<std::string> texts = {"",
                                          " ",
                                          "  leading",
                                          "trailing ",
                                          "a=b",
                                          "=",
                                          "two\nlines",
                                          "\r\n",
                                          "tab\there",
                                          "100%",
                                          "%41",
                                          "# no comment",
                                          "[part]",
                                          "back\\slash",
                                          "\x01\x1b[0m\x7f",
                                          "Gr\xc3\xbc\xc3\x9f",
                                          "\xff\xfe\x80",
                                          std::string(100'000, 'x')};
  {
    const Config config = Open(path_);
    for (const std::string& text : texts) {
      WriteString(config.get(), text.c_str(), ("value" + text).c_str());
      WriteString(config.get(), ("key" + text).c_str(), text.c_str());
      WriteSecret(config.get(), ("secret" + text).c_str(), text.c_str());
    }
    ASSERT_EQ(SaveConfig(config.get()), 1);
  }
  const Config config = Open(path_);
  for (const std::string& text : texts) {
    EXPECT_EQ(ReadString(config.get(), text.c_str(), "absent"), "value" + text);
    EXPECT_EQ(ReadString(config.get(), ("key" + text).c_str(), "absent"), text);
    EXPECT_EQ(ReadSecret(config.get(), ("secret" + text).c_str(), "absent"), text);
  }
}

TEST_F(ConfigFiles, NumbersAreWholeDecimalIntsOrCountAsAbsent) {
  const Config config = Open(path_);
  for (const int number : {0, -7, INT_MAX, INT_MIN}) {
    WriteInt(config.get(), "number", number);
    EXPECT_EQ(ReadInt(config.get(), "number", 1), number);
    EXPECT_STREQ(ReadString(config.get(), "number", ""), std::to_string(number).c_str());
  }
  for (const char* text : {"", "x", "12x", "1.5", "2147483648", "-2147483649", "0x10"}) {
    WriteString(config.get(), "number", text);
    EXPECT_EQ(ReadInt(config.get(), "number", 1234), 1234) << text;
  }
}

TEST_F(ConfigFiles, TextsStayUntilTheirKeyIsWritten) {
  const Config config = Open(path_);
  WriteString(config.get(), "text", "short");
  WriteSecret(config.get(), "secret", "hidden");
  const char* const text = ReadString(config.get(), "text", "");
  const char* const secret = ReadSecret(config.get(), "secret", "");
  for (int i = 0; i < 1000; ++i) {
    WriteInt(config.get(), ("key" + std::to_string(i)).c_str(), i);
    ReadString(config.get(), "text", "");
    ReadSecret(config.get(), "secret", "");
  }
  SaveConfig(config.get());
  EXPECT_STREQ(text, "short");
  EXPECT_STREQ(secret, "hidden");

  WriteString(config.get(), "text", text);  // its own old value, or a part of it
  EXPECT_STREQ(ReadString(config.get(), "text", ""), "short");
  WriteString(config.get(), "text", ReadString(config.get(), "text", "") + 2);
  EXPECT_STREQ(ReadString(config.get(), "text", ""), "ort");
  WriteSecret(config.get(), "secret", secret + 3);
  EXPECT_STREQ(ReadSecret(config.get(), "secret", ""), "den");
}

TEST_F(ConfigFiles, FileDoesNotTellItsSecrets) {
  const Config config = Open(path_);
  WriteSecret(config.get(), "password", "correct horse battery");
  ASSERT_EQ(SaveConfig(config.get()), 1);
  const std::string content = ReadAll(path_);
  EXPECT_NE(content.find("password"), std::string::npos);
  EXPECT_EQ(content.find("horse"), std::string::npos);
  EXPECT_EQ(std::string(ReadString(config.get(), "password", "")).find("horse"), std::string::npos);
}

TEST_F(ConfigFiles, SecretThatCannotBeUnsealedIsAbsent) {
  const Config config = Open(path_);
  WriteSecret(config.get(), "password", "secret");
  const std::string sealed = ReadString(config.get(), "password", "");
  std::string damaged = sealed;
  damaged[damaged.size() / 2] = damaged[damaged.size() / 2] == 'A' ? 'B' : 'A';
  for (const std::string& value : {damaged, sealed.substr(0, sealed.size() - 4),
                                   sealed.substr(0, 12), std::string("in clear"), std::string()}) {
    WriteString(config.get(), "password", value.c_str());
    EXPECT_STREQ(ReadSecret(config.get(), "password", "absent"), "absent") << value;
  }
  WriteString(config.get(), "password", sealed.c_str());
  EXPECT_STREQ(ReadSecret(config.get(), "password", "absent"), "secret");
}

TEST_F(ConfigFiles, GarbledFileIsKeptAsideAndReplacedByAnEmptyOne) {
  const std::string garbage("\0\xff\x01 no configuration", 20);
  WriteAll(path_, garbage);
  const Config config = Open(path_);
  ASSERT_TRUE(config);
  EXPECT_EQ(ReadString(config.get(), "key", nullptr), nullptr);
  bool kept = false;
  for (const std::string& name : folder_.Names()) kept |= ReadAll(folder_ / name) == garbage;
  EXPECT_TRUE(kept);

  WriteString(config.get(), "key", "value");
  EXPECT_EQ(SaveConfig(config.get()), 1);
  EXPECT_STREQ(ReadString(Open(path_).get(), "key", ""), "value");
}

TEST_F(ConfigFiles, EveryPrefixOfAFileOpens) {
  {
    const Config config = Open(path_);
    WriteString(config.get(), "user", "100% anna\n");
    WriteSecret(config.get(), "password", "s");
    ASSERT_EQ(SaveConfig(config.get()), 1);
  }
  const std::string whole = ReadAll(path_);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    WriteAll(path_, whole.substr(0, size));
    const Config config = Open(path_);
    ASSERT_TRUE(config) << size;
    EXPECT_STREQ(ReadSecret(config.get(), "password", "s"), "s") << size;
  }
}

TEST_F(ConfigFiles, PlaceThatHoldsNoFileGivesNull) {
  EXPECT_FALSE(Open(folder_ / "missing/test.cfg"));
  EXPECT_FALSE(Open("/proc/test.cfg"));
  EXPECT_FALSE(Open(""));
  WriteAll(path_, "");
  EXPECT_FALSE(Open(path_ + "/test.cfg"));

  ASSERT_EQ(mkdir((folder_ / "folder").c_str(), 0700), 0);
  EXPECT_FALSE(Open(folder_ / "folder"));
  ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
  EXPECT_FALSE(Open(folder_ / "pipe"));
  EXPECT_EQ(folder_.Names(), (std::set<std::string>{"folder", "pipe", "test.cfg"}));
}

TEST_F(ConfigFiles, FailedSaveSaysSoAndLeavesNothingBehind) {
  const Config config = Open(path_);
  WriteString(config.get(), "key", "value");
  std::filesystem::remove(path_);
  std::filesystem::create_directories(path_ + "/in the way");
  EXPECT_EQ(SaveConfig(config.get()), 0);
  EXPECT_EQ(folder_.Names(), std::set<std::string>{"test.cfg"});

  std::filesystem::remove_all(path_);
  EXPECT_EQ(SaveConfig(config.get()), 1);
  EXPECT_STREQ(ReadString(Open(path_).get(), "key", ""), "value");
}

/// One generation of a file: as many keys as it takes to be written in several steps, all with the
/// same value.
constexpr int kKeys = 200;

int SaveGeneration(iconfig_s* config, int generation) {
  const std::string value = std::to_string(generation) + std::string(200, 'x');
  for (int i = 0; i < kKeys; ++i) {
    WriteString(config, ("key" + std::to_string(i)).c_str(), value.c_str());
  }
  return SaveConfig(config);
}

/// \return whether the file is whole and of one generation.
testing::AssertionResult IsWhole(const std::string& path) {
  const Config config = Open(path);
  if (!config) return testing::AssertionFailure() << "does not open";
  const std::string first = ReadString(config.get(), "key0", "");
  if (first.empty()) return testing::AssertionFailure() << "is empty";
  for (int i = 1; i < kKeys; ++i) {
    const std::string key = "key" + std::to_string(i);
    if (ReadString(config.get(), key.c_str(), "") == first) continue;
    return testing::AssertionFailure() << key << " is of another generation than key0";
  }
  return testing::AssertionSuccess();
}

TEST_F(ConfigFiles, Killed_InSaveConfig) {
  SaveGeneration(Open(path_).get(), 0);
  for (int delay_us = 0; delay_us < 20'000; delay_us += 500) {
    Child writer([this] {
      const Config config = Open(path_);
      for (int generation = 1;; ++generation) SaveGeneration(config.get(), generation);
      return 0;
    });
    std::this_thread::sleep_for(std::chrono::microseconds(3000 + delay_us));
    writer.Kill();
    ASSERT_TRUE(IsWhole(path_)) << delay_us;
  }
  EXPECT_EQ(SaveGeneration(Open(path_).get(), 0), 1);
  EXPECT_EQ(folder_.Names(), std::set<std::string>{"test.cfg"});
}

TEST_F(ConfigFiles, SeveralWritersLeaveOneWholeFile) {
  SaveGeneration(Open(path_).get(), 0);
  const auto write = [this](int first) {
    const Config config = Open(path_);
    for (int i = 0; i < 40; ++i) {
      if (SaveGeneration(config.get(), first + i) != 1) return 1;
    }
    return 0;
  };
  Child one([&] { return write(1000); });
  Child two([&] { return write(2000); });
  int result_in_thread = -1;
  std::thread three([&] { result_in_thread = write(3000); });
  for (int i = 0; i < 100; ++i) EXPECT_TRUE(IsWhole(path_));
  EXPECT_EQ(one.Wait(), 0);
  EXPECT_EQ(two.Wait(), 0);
  three.join();
  EXPECT_EQ(result_in_thread, 0);
  EXPECT_TRUE(IsWhole(path_));
  EXPECT_EQ(folder_.Names(), std::set<std::string>{"test.cfg"});
}

}  // namespace
