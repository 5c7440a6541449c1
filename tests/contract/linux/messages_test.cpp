#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "linux/run_probe.h"
#include "support/device_folder.h"

namespace {

namespace fs = std::filesystem;

std::string Shown(const std::string& language, const std::string& title, const std::string& text) {
  return RunProbe({"LANG=" + language}, {"message", "4", title, text}).errors;
}

TEST(Messages, KeyIsShownInTheUsersLanguage) {
  const std::string english = "[error] The book could not be downloaded.\n";
  for (const char* language : {"", "C", "C.UTF-8", "en_GB.UTF-8", "xx_YY", "../de"}) {
    EXPECT_EQ(Shown(language, "@DownloadError", "@DownloadError"), english) << language;
  }
  const std::string german = "[error] Das Buch konnte nicht heruntergeladen werden.\n";
  for (const char* language : {"de", "de_DE.UTF-8", "de@euro"}) {
    EXPECT_EQ(Shown(language, "@DownloadError", "@DownloadError"), german) << language;
  }
  EXPECT_EQ(RunProbe({"LANG=en", "LC_MESSAGES=de"}, {"message", "4", "@DownloadError", "x"}).errors,
            "[error] Das Buch konnte nicht heruntergeladen werden.: x\n");
}

TEST(Messages, OtherTextIsShownAsItIsOnOneLine) {
  EXPECT_EQ(Shown("de", "@NoSuchKey", "Text"), "[error] @NoSuchKey: Text\n");
  EXPECT_EQ(Shown("de", "", "a\nb\x1b[2J ü"), "[error] a\\nb\\x1b[2J ü\n");
  EXPECT_EQ(RunProbe({}, {"message", "1", "T", "x"}).errors, "[information] T: x\n");
}

TEST(Messages, DevicesOwnLanguageFilesGoBeforeOurs) {
  fs::create_directories("/ebrmain/language");
  WriteAll("/ebrmain/language/en.txt", "@DownloadError=Own text, 100%25\n@Other=Other\n");
  EXPECT_EQ(Shown("en", "@DownloadError", "@Other"), "[error] Own text, 100%: Other\n");
  WriteAll("/ebrmain/language/en.txt", "no equals sign\n");
  const auto lines = Lines(Shown("en", "@DownloadError", "@DownloadError"));
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_NE(lines[0].find("line 1 has no '='"), std::string::npos);
  EXPECT_EQ(lines[1], "[error] The book could not be downloaded.");
  fs::remove_all("/ebrmain/language");
}

/// A desktop of the test's own: a program by the name of the one that shows notifications.
class Desktop {
 public:
  explicit Desktop(const std::string& script) {
    WriteAll(folder_ / "notify-send", "#!/bin/sh\n" + script);
    fs::permissions(folder_ / "notify-send", fs::perms(0700));
  }
  ProbeResult Show(const std::string& title, const std::string& text) const {
    return RunProbe({"PATH=" + folder_.path() + ":" + std::getenv("PATH"),
                     "DBUS_SESSION_BUS_ADDRESS=unix:path=/none", "RECORD=" + (folder_ / "record")},
                    {"message", "4", title, text});
  }
  std::string Record() const {
    for (int i = 0; i < 300 && !fs::exists(folder_ / "record"); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return ReadAll(folder_ / "record");
  }

 private:
  const DeviceFolder folder_;
};

TEST(Messages, DesktopIsNotifiedWithTheTextsAsArguments) {
  const Desktop desktop(R"(printf '%s|' "$@" > "$RECORD.part" && mv "$RECORD.part" "$RECORD")");
  const ProbeResult result = desktop.Show("-title", "$(reboot) `x` \"quoted\"");
  EXPECT_EQ(result.output, "no child\n");
  EXPECT_EQ(desktop.Record(), "-t|7000|-i|dialog-error|--|-title|$(reboot) `x` \"quoted\"|");
}

TEST(Messages, DesktopThatHangsDelaysNobody) {
  const Desktop desktop("exec sleep 60");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(desktop.Show("title", "text").output, "no child\n");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

}  // namespace
