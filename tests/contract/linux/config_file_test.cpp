#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

#include "support/suite.h"

namespace {

class LinuxConfigFile : public testing::Test {
 protected:
  const TemporaryDirectory directory_;
  const std::string path_ = directory_ / "test.cfg";
  const std::string bad_path_ = path_ + ".bad";
};

TEST_F(LinuxConfigFile, IsTextReadableOnlyByOwner) {
  const Config config(path_);
  EXPECT_EQ(fs::status(path_).permissions(), fs::perms(0600));
  WriteString(config, "user=name", " anna\n100% ");
  WriteInt(config, "time", 7);
  ASSERT_EQ(SaveConfig(config), 1);
  EXPECT_EQ(ReadAll(path_), "time=7\nuser%3Dname=%20anna%0A100%25%20\n");
  EXPECT_EQ(fs::status(path_).permissions(), fs::perms(0600));
}

// RLIMIT_FSIZE has the effect of a full disk.
TEST_F(LinuxConfigFile, KeepsOldContentWhenDiskIsFull) {
  const Config config(path_);
  WriteString(config, "key", "old");
  ASSERT_EQ(SaveConfig(config), 1);
  WriteString(config, "key", std::string(10'000, 'x').c_str());
  for (const rlim_t limit_bytes : {0, 1, 4096, 10'000}) {
    ForkedProcess child([&] {
      std::signal(SIGXFSZ, SIG_IGN);
      const rlimit limit{limit_bytes, limit_bytes};
      setrlimit(RLIMIT_FSIZE, &limit);
      return SaveConfig(config);
    });
    EXPECT_EQ(child.Wait(), 0);
    EXPECT_EQ(ReadAll(path_), "key=old\n");
    EXPECT_EQ(directory_.Names(), std::set<std::string>{"test.cfg"});
  }
}

TEST_F(LinuxConfigFile, SavesWhileAnotherProgramHoldsLock) {
  const Config config(path_);
  WriteString(config, "key", "value");
  const int directory = open(directory_.path().c_str(), O_RDONLY);
  ASSERT_EQ(flock(directory, LOCK_EX), 0);
  const Stopwatch time;
  EXPECT_EQ(SaveConfig(config), 1);
  EXPECT_LT(time.seconds(), 7);
  close(directory);
  EXPECT_EQ(ReadAll(path_), "key=value\n");
}

TEST_F(LinuxConfigFile, MovesUnreadableFileToBadOrReturnsNull) {
  for (const char* garbage : {"key", "key=value", "key=a%0\n", "key=%00\n", "key=%zz\n", "a=1\nb\n",
                              "key=a\tb\n", "key=a\r\n"}) {
    WriteAll(path_, garbage);
    const Config config(path_);
    EXPECT_EQ(ReadAll(bad_path_), garbage);
    EXPECT_EQ(ReadAll(path_), "");
  }
  fs::resize_file(path_, 1 << 30);
  EXPECT_TRUE(Config(path_));
  EXPECT_EQ(fs::file_size(path_), 0U);
  EXPECT_EQ(fs::file_size(bad_path_), 1U << 30);

  fs::remove(path_);
  fs::create_symlink("/proc/self/mem", path_);  // reading it fails with EIO
  EXPECT_TRUE(Config(path_));
  EXPECT_TRUE(fs::is_symlink(bad_path_));

  WriteAll(path_, "garbage");
  fs::remove(bad_path_);
  fs::create_directories(bad_path_ + "/in the way");
  WriteAll(LogPath(), "");
  EXPECT_FALSE(Config(path_));
  const std::string log = ReadAll(LogPath());
  EXPECT_NE(log.find(path_ + ": line 1"), std::string::npos) << log;
  EXPECT_NE(log.find("cannot move it to " + bad_path_), std::string::npos) << log;
  EXPECT_EQ(log.find('\n'), log.size() - 1) << log;
  EXPECT_EQ(ReadAll(path_), "garbage");
}

}  // namespace
