#include <gtest/gtest.h>

#include <map>
#include <string>

#include "linux/run_probe.h"
#include "support/device_folder.h"
#include "tabulet.h"

namespace {

TEST(Log, RecordIsOneLineThatNamesItsPlace) {
  EXPECT_EQ(RunProbe({}, {"log", "2", "text: 100%"}).errors,
            "2 src/probe.cpp:12 int f(char): text: 100%\n");
  EXPECT_EQ(RunProbe({}, {"log", "1", "a\nb\r\t\x1b[31m\x7f \xc2\x9b ü \xff"}).errors,
            "1 src/probe.cpp:12 int f(char): a\\nb\\r\\t\\x1b[31m\\x7f \\x9b ü \xff\n");
  const std::string longest(100'000, 'x');
  EXPECT_EQ(RunProbe({}, {"log", "2", longest}).errors,
            "2 src/probe.cpp:12 int f(char): " + longest + "\n");
}

TEST(Log, LevelDecidesWhatIsWritten) {
  EXPECT_EQ(RunProbe({}, {"log", "3", "x"}).errors, "");
  EXPECT_NE(RunProbe({"TABULET_LOG_LEVEL=3"}, {"log", "3", "x"}).errors, "");
  EXPECT_EQ(RunProbe({"TABULET_LOG_LEVEL=3"}, {"log", "4", "x"}).errors, "");
  EXPECT_NE(RunProbe({"TABULET_LOG_LEVEL=5"}, {"log", "5", "x"}).errors, "");
  EXPECT_EQ(RunProbe({"TABULET_LOG_LEVEL=0"}, {"log", "1", "x"}).errors, "");
}

TEST(Log, FileIsAppendedToAndTheUsersAlone) {
  const DeviceFolder folder;
  const std::string path = folder / "log";
  for (const char* text : {"one", "two"}) {
    const ProbeResult result = RunProbe({"TABULET_LOG=" + path}, {"log", "2", text});
    EXPECT_EQ(result.errors, "");
  }
  EXPECT_EQ(ReadAll(path),
            "2 src/probe.cpp:12 int f(char): one\n2 src/probe.cpp:12 int f(char): two\n");
  EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0600));
}

TEST(Log, UnwritableFileIsReportedOnceAndStandardErrorTakesItsPlace) {
  const auto lines = Lines(RunProbe({"TABULET_LOG=/no/such/folder/log"}, {"log-threads"}).errors);
  ASSERT_EQ(lines.size(), 801U);
  EXPECT_NE(lines[0].find("TABULET_LOG"), std::string::npos);
  EXPECT_NE(lines[0].find("/no/such/folder/log"), std::string::npos);
  EXPECT_NE(lines[0].find("No such file or directory"), std::string::npos);
  for (std::size_t i = 1; i < lines.size(); ++i) ASSERT_EQ(lines[i].rfind("1 threads:", 0), 0U);

  EXPECT_EQ(Lines(RunProbe({"TABULET_LOG=/dev/full"}, {"log", "2", "x"}).errors).size(), 1U);
}

TEST(Log, LinesOfSeveralThreadsDoNotMix) {
  const DeviceFolder folder;
  RunProbe({"TABULET_LOG=" + (folder / "log")}, {"log-threads"});
  std::map<std::string, int> counts;
  for (const std::string& line : Lines(ReadAll(folder / "log"))) ++counts[line];
  ASSERT_EQ(counts.size(), 4U);
  for (const auto& [line, count] : counts) EXPECT_EQ(count, 200) << line;
}

}  // namespace
