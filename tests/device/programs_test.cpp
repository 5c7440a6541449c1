#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "support/files.h"
#include "support/process.h"

namespace tests {
namespace {

TEST(DevicePrograms, AnswerInOneSentence) {
  const TemporaryDirectory directory;
  WriteFile(directory / "empty.pem", "");
  WriteFile(directory / "ca.pem", "-----BEGIN CERTIFICATE-----\n-----END CERTIFICATE-----\n");
  const std::string version = std::string(" ") + QUIRE_VERSION + "\n";
  const std::string url = "https://shop.test/";
  const std::string ca_file = "browser: TABULET_CA_FILE is " + (directory / "empty.pem");
  const std::tuple<Command, std::string, int, std::string, std::string> cases[] = {
      {{"browser-agent", "--version"}, "", 0, "browser-agent" + version, ""},
      {{"browser-chromium", "--version"}, "", 0, "browser-chromium" + version, ""},
      {{"quire-device", "--version"}, "", 0, "quire-device" + version, ""},
      {{"scanner.app", "--version"}, "", 0, "scanner.app" + version, ""},
      {{"browser-agent", "ftp://shop.test/"}, "", 2, "", "usage: browser-agent"},
      {{"browser-agent", "--paypal"}, "", 2, "", "usage: browser-agent"},
      {{"browser-chromium", "ftp://shop.test/"}, "", 2, "", "usage: browser-chromium"},
      {{"browser-chromium"}, "", 2, "", "usage: browser-chromium"},
      {{"scanner.app", "--scan"}, "", 2, "", "usage: scanner.app"},
      {{"scanner.app", "--unknown", "x"}, "", 2, "", "usage: scanner.app"},
      {{"browser-chromium", url}, "", 1, "", "browser: chromium is not installed; "},
      {{"browser-chromium", url}, "ca.pem", 1, "", "browser: certutil is not installed; "},
      {{"browser-chromium", url}, "empty.pem", 1, "", ca_file},
  };
  for (const auto& [arguments, authority, exit_code, out, err] : cases) {
    Command command = arguments;
    command[0] = QUIRE_BUILD_DIR "/bin/" + command[0];
    const ProcessResult run =
        RunProgram(command, {{"PATH", directory.path()},
                             {"TMPDIR", directory.path()},
                             {"TABULET_CA_FILE", authority.empty() ? "" : directory / authority}});
    EXPECT_EQ(run.exit_code, exit_code) << arguments[0];
    EXPECT_EQ(run.out, out);
    EXPECT_NE(run.err.find(err), std::string::npos) << run.err;
  }
}

TEST(DevicePrograms, KeepSecretsOfChromium) {
  const TemporaryDirectory directory;
  WriteProgram(directory / "chromium", "#!/bin/sh\necho $(ulimit -c) [$SSLKEYLOGFILE] >&2\n");
  const ProcessResult run =
      RunProgram({"bash", "-c", "ulimit -c unlimited; exec \"$0\" https://shop.test/",
                  QUIRE_BUILD_DIR "/bin/browser-chromium"},
                 {{"PATH", directory.path() + ":" + std::getenv("PATH")},
                  {"TMPDIR", directory.path()},
                  {"SSLKEYLOGFILE", directory / "keys"},
                  {"QUIRE_BROWSER_VERBOSE", "1"}});
  EXPECT_EQ(run.err.substr(0, 5), "0 []\n") << run.err;
}

}  // namespace
}  // namespace tests
