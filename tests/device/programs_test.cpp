#include <gtest/gtest.h>

#include <string>

#include "support/files.h"
#include "support/process.h"

namespace tests {
namespace {

const std::string kPrograms = QUIRE_BUILD_DIR "/bin/";

TEST(DevicePrograms, PrintVersion) {
  for (const std::string name :
       {"browser-agent", "browser-chromium", "quire-device", "scanner.app"}) {
    const ProcessResult run = RunProgram({kPrograms + name, "--version"});
    EXPECT_EQ(run.out, name + " " QUIRE_VERSION "\n");
    EXPECT_EQ(run.exit_code, 0);
  }
}

TEST(DevicePrograms, RejectWrongArguments) {
  for (const Command& arguments :
       {Command{"browser-agent", "ftp://shop.test/"}, Command{"browser-agent", "--paypal"},
        Command{"browser-chromium", "ftp://shop.test/"}, Command{"browser-chromium"},
        Command{"scanner.app", "--scan"}, Command{"scanner.app", "--scam", "x"}}) {
    Command command = arguments;
    command[0] = kPrograms + command[0];
    const ProcessResult run = RunProgram(command);
    EXPECT_EQ(run.exit_code, 2) << command[0];
    EXPECT_NE(run.err.find("usage: " + arguments[0]), std::string::npos) << run.err;
  }
}

TEST(BrowserChromiumSetup, ReportsWhatIsMissing) {
  const TemporaryDirectory directory;
  WriteFile(directory / "empty.pem", "");
  WriteFile(directory / "ca.pem", "-----BEGIN CERTIFICATE-----\n-----END CERTIFICATE-----\n");
  const std::pair<std::string, std::string> cases[] = {
      {"", "browser: chromium is not installed; "},
      {directory / "ca.pem", "browser: certutil is not installed; "},
      {directory / "empty.pem", "browser: TABULET_CA_FILE is " + (directory / "empty.pem")}};
  for (const auto& [ca_file, message] : cases) {
    const ProcessResult run = RunProgram(
        {kPrograms + "browser-chromium", "https://shop.test/"},
        {{"PATH", directory.path()}, {"TMPDIR", directory.path()}, {"TABULET_CA_FILE", ca_file}});
    EXPECT_EQ(run.exit_code, 1);
    EXPECT_EQ(run.err.find(message), 0U) << run.err;
  }
}

}  // namespace
}  // namespace tests
