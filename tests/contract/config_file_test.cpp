#include <sys/stat.h>

#include <climits>
#include <thread>

#include "support/suite.h"

namespace {

class ConfigFile : public testing::Test {
 protected:
  const TemporaryDirectory directory_;
  const std::string path_ = directory_ / "test.cfg";
};

TEST_F(ConfigFile, CreatesMissingFileAndKeepsSavedValues) {
  {
    const Config config(path_);
    ASSERT_TRUE(config);
    EXPECT_TRUE(fs::exists(path_));
    EXPECT_STREQ(ReadString(config, "user", "nobody"), "nobody");
    WriteString(config, "user", "anna");
    WriteInt(config, "time", -1800);
    WriteSecret(config, "password", "correct horse");
    EXPECT_EQ(config.Read("user"), "anna");
    EXPECT_EQ(SaveConfig(config), 1);
    WriteString(config, "user", "not saved");
  }
  const Config config(path_);
  EXPECT_EQ(config.Read("user"), "anna");
  EXPECT_EQ(ReadInt(config, "time", 0), -1800);
  EXPECT_EQ(config.Secret("password"), "correct horse");
  EXPECT_EQ(ReadAll(path_).find("horse"), std::string::npos);
  WriteString(config, "password", "not encrypted");
  EXPECT_EQ(config.Secret("password"), "absent");
}

TEST_F(ConfigFile, SavesOnCloseOnlyIfChanged) {
  iconfig_s* config = OpenConfig(path_.c_str(), nullptr);
  WriteString(config, "key", "mine");
  CloseConfig(config);
  ASSERT_EQ(Config(path_).Read("key"), "mine");

  iconfig_s* reader = OpenConfig(path_.c_str(), nullptr);
  const Config writer(path_);
  WriteString(writer, "key", "another's");
  ASSERT_EQ(SaveConfig(writer), 1);
  CloseConfig(reader);
  EXPECT_EQ(Config(path_).Read("key"), "another's");
}

TEST_F(ConfigFile, SavesOnlyKeysThatHandleChanged) {
  const Config config(path_);
  for (const char* key : {"kept", "changed", "both"}) WriteString(config, key, "old");
  ASSERT_EQ(SaveConfig(config), 1);
  const Config slow(path_);
  WriteString(slow, "changed", "by slow");
  WriteString(slow, "both", "by slow");
  WriteString(config, "kept", "by config");
  WriteString(config, "both", "by config");
  WriteInt(config, "new", 7);
  ASSERT_EQ(SaveConfig(config), 1);
  ASSERT_EQ(SaveConfig(slow), 1);

  const Config saved(path_);
  EXPECT_EQ(saved.Read("kept"), "by config");
  EXPECT_EQ(saved.Read("changed"), "by slow");
  EXPECT_EQ(saved.Read("both"), "by slow");
  EXPECT_EQ(saved.Read("new"), "7");
  WriteAll(path_, "garbage");
  ASSERT_EQ(SaveConfig(slow), 1);
  EXPECT_EQ(Config(path_).Read("kept"), "old") << "all that the handle has, over a damaged file";
}

TEST_F(ConfigFile, AcceptsNullHandles) {
  EXPECT_STREQ(ReadString(nullptr, "key", "fallback"), "fallback");
  EXPECT_STREQ(ReadSecret(nullptr, "key", "fallback"), "fallback");
  EXPECT_EQ(ReadInt(nullptr, "key", 7), 7);
  WriteString(nullptr, "key", "x");
  WriteSecret(nullptr, "key", "x");
  WriteInt(nullptr, "key", 1);
  EXPECT_EQ(SaveConfig(nullptr), 0);
  CloseConfig(nullptr);
  CloseConfigNoSave(nullptr);

  const Config config(path_);
  for (iconfig_s* handle : {static_cast<iconfig_s*>(nullptr), static_cast<iconfig_s*>(config)}) {
    EXPECT_EQ(ReadString(handle, "absent", nullptr), nullptr);
    EXPECT_EQ(ReadSecret(handle, "absent", nullptr), nullptr);
  }
  WriteString(config, "null", nullptr);
  WriteSecret(config, "null secret", nullptr);
  EXPECT_EQ(config.Read("null") + config.Secret("null secret"), "");
}

TEST_F(ConfigFile, KeepsAnyStringAsKeyAndValue) {
  const std::vector<std::string> texts = {std::string(100'000, 'x'),
                                          "",
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
                                          "Gr\xc3\xbc\xc3\x9f"};
  {
    const Config config(path_);
    for (const std::string& text : texts) {
      WriteString(config, text.c_str(), ("value" + text).c_str());
      WriteString(config, ("key" + text).c_str(), text.c_str());
      WriteSecret(config, ("secret" + text).c_str(), text.c_str());
    }
    ASSERT_EQ(SaveConfig(config), 1);
  }
  const Config config(path_);
  for (const std::string& text : texts) {
    EXPECT_EQ(config.Read(text), "value" + text);
    EXPECT_EQ(config.Read("key" + text), text);
    EXPECT_EQ(config.Secret("secret" + text), text);
  }
}

TEST_F(ConfigFile, ReadsOnlyDecimalIntegers) {
  const Config config(path_);
  for (const int number : {0, -7, INT_MAX, INT_MIN}) {
    WriteInt(config, "number", number);
    EXPECT_EQ(ReadInt(config, "number", 1), number);
    EXPECT_EQ(config.Read("number"), std::to_string(number));
  }
  for (const char* text : {"", "x", "12x", "1.5", "2147483648", "-2147483649", "0x10"}) {
    WriteString(config, "number", text);
    EXPECT_EQ(ReadInt(config, "number", 1234), 1234) << text;
  }
}

TEST_F(ConfigFile, KeepsReturnedStringsUntilKeyIsWritten) {
  const Config config(path_);
  WriteString(config, "text", "a string too long to be stored inline");
  WriteSecret(config, "secret", "a secret too long to be stored inline");
  const char* const text = ReadString(config, "text", "");
  const char* const secret = ReadSecret(config, "secret", "");
  for (int i = 0; i < 1000; ++i) {
    WriteInt(config, ("key" + std::to_string(i)).c_str(), i);
    config.Read("text");
    config.Secret("secret");
    WriteSecret(config, "other", "a string that may reuse released memory");
    config.Secret("other");
  }
  SaveConfig(config);
  EXPECT_STREQ(text, "a string too long to be stored inline");
  EXPECT_STREQ(secret, "a secret too long to be stored inline");

  WriteString(config, "text", text);  // the old value itself, or a part of it
  EXPECT_EQ(config.Read("text"), "a string too long to be stored inline");
  WriteString(config, "text", ReadString(config, "text", "") + 31);
  EXPECT_EQ(config.Read("text"), "inline");
  WriteSecret(config, "secret", secret + 31);
  EXPECT_EQ(config.Secret("secret"), "inline");
}

TEST_F(ConfigFile, MovesGarbledFileAside) {
  const std::string garbage("\0\xff\x01 no configuration", 20);
  WriteAll(path_, garbage);
  const Config config(path_);
  ASSERT_TRUE(config);
  EXPECT_EQ(config.Read("key"), "absent");
  bool kept = false;
  for (const std::string& name : directory_.Names()) kept |= ReadAll(directory_ / name) == garbage;
  EXPECT_TRUE(kept);

  WriteString(config, "key", "value");
  EXPECT_EQ(SaveConfig(config), 1);
  EXPECT_EQ(Config(path_).Read("key"), "value");
}

TEST_F(ConfigFile, OpensTruncatedFiles) {
  {
    const Config config(path_);
    WriteString(config, "user", "100% anna\n");
    WriteSecret(config, "password", "s");
    ASSERT_EQ(SaveConfig(config), 1);
  }
  const std::string whole = ReadAll(path_);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    WriteAll(path_, whole.substr(0, size));
    const Config config(path_);
    ASSERT_TRUE(config) << size;
    EXPECT_STREQ(ReadSecret(config, "password", "s"), "s") << size;
  }
}

TEST_F(ConfigFile, ReturnsNullIfFileCannotBeCreated) {
  WriteAll(path_, "");
  ASSERT_EQ(mkdir((directory_ / "directory").c_str(), 0700), 0);
  ASSERT_EQ(mkfifo((directory_ / "pipe").c_str(), 0600), 0);
  for (const std::string& path : {std::string(), path_ + "/test.cfg", directory_ / "missing/a.cfg",
                                  directory_ / "directory", directory_ / "pipe"}) {
    EXPECT_FALSE(Config(path)) << path;
  }
}

TEST_F(ConfigFile, SavesAgainAfterFailure) {
  const Config config(path_);
  WriteString(config, "key", "value");
  fs::remove(path_);
  fs::create_directories(path_ + "/in the way");
  EXPECT_EQ(SaveConfig(config), 0);
  fs::remove_all(path_);
  EXPECT_EQ(SaveConfig(config), 1);
  EXPECT_EQ(Config(path_).Read("key"), "value");
}

// A generation of a file has the same value for all keys, and is too large for one write call.
constexpr int kKeys = 200;

int SaveGeneration(iconfig_s* config, int generation) {
  const std::string value = std::to_string(generation) + std::string(200, 'x');
  for (int i = 0; i < kKeys; ++i) {
    WriteString(config, ("key" + std::to_string(i)).c_str(), value.c_str());
  }
  return SaveConfig(config);
}

/// Whether the file is complete and of one generation.
bool IsComplete(const std::string& path) {
  const Config config(path);
  std::set<std::string> values;
  for (int i = 0; i < kKeys; ++i) values.insert(config.Read("key" + std::to_string(i)));
  return values.size() == 1 && *values.begin() != "absent";
}

TEST_F(ConfigFile, SurvivesKillDuringSave) {
  SaveGeneration(Config(path_), 0);
  for (int delay_us = 0; delay_us < 20'000; delay_us += 500) {
    ForkedProcess writer([this] {
      const Config config(path_);
      for (int generation = 1;; ++generation) SaveGeneration(config, generation);
      return 0;
    });
    std::this_thread::sleep_for(std::chrono::microseconds(3000 + delay_us));
    writer.Kill();
    ASSERT_TRUE(IsComplete(path_)) << delay_us;
  }
  EXPECT_EQ(SaveGeneration(Config(path_), 0), 1);
  EXPECT_LT(directory_.Names().size(), 5U) << "files left by 40 kills";
}

TEST_F(ConfigFile, StaysCompleteUnderConcurrentWriters) {
  SaveGeneration(Config(path_), 0);
  const auto write = [this](int first) {
    const Config config(path_);
    for (int i = 0; i < 40; ++i) {
      if (SaveGeneration(config, first + i) != 1) return 1;
    }
    return 0;
  };
  ForkedProcess one([&] { return write(1000); });
  ForkedProcess two([&] { return write(2000); });
  int result_in_thread = -1;
  std::thread three([&] { result_in_thread = write(3000); });
  int incomplete = 0;
  for (int i = 0; i < 100; ++i) incomplete += !IsComplete(path_);
  three.join();
  EXPECT_EQ(one.Wait() + two.Wait() + result_in_thread, 0);
  EXPECT_EQ(incomplete + !IsComplete(path_), 0) << "of 101 reads";
}

}  // namespace
