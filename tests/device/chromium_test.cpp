#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

#include "device/test_site.h"
#include "support/browser_hand.h"
#include "support/files.h"

namespace tests {
namespace {

using nlohmann::json;

/// A payment page over TLS, and a browser that is not to be tricked about the certificate.
class Chromium : public testing::Test {
 protected:
  void SetUp() override {
    site_.Redirect("/start", "/pay");
    site_.Page("/pay",
               "<title>Shop</title><form method=post><input name=card><button name=decision "
               "value=approve>Pay</button></form><iframe src=/frame></iframe>");
    site_.OnPost("/pay", [](const httplib::Request&, httplib::Response& response) {
      response.set_redirect("/done", 303);
    });
    site_.Redirect("/done", "https://shop.test/QUIRESaltmoor?status=success");
    site_.Start();
  }

  Environment Settings(bool trusting = true) const {
    return site_.Settings() + Environment{{"QUIRE_BROWSER_HEADLESS", "1"},
                                          {"QUIRE_BROWSER_DEVTOOLS_FILE", kDevtoolsFile},
                                          {"TMPDIR", folder_.path()},
                                          {"TABULET_CA_FILE", trusting ? folder_ / "ca.pem" : ""}};
  }

  bool HasProfile() const {
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
      if (entry.path().filename().string().starts_with("quire-chromium")) return true;
    }
    return false;
  }

  const TemporaryFolder folder_;
  const std::string kDevtoolsFile = folder_ / "devtools";
  const Command kCommand = {QUIRE_BUILD_DIR "/bin/browser-chromium", "-wirecard",
                            "https://shop.test/start"};
  const std::string kVisits = "https://shop.test/start\nhttps://shop.test/pay\n";
  TestSite site_{folder_.path()};
};

TEST_F(Chromium, TellsEachAddressOfAPaymentOnTheDevice) {
  // As the store library has it: on the device, ended by whoever watches the addresses.
  Process browser(Command{QUIRE_DEVICE, "--build", QUIRE_BUILD_DIR, "--device", "scratch"} +
                      Command{"--no-scanner", "--browser", "chromium", "--share", folder_.path()} +
                      Command{"/ebrmain/bin/browser.app", "-wirecard", "https://shop.test/start"},
                  Settings());
  BrowserHand hand(kDevtoolsFile);
  const std::string page = hand.Page("https://shop.test/pay");
  EXPECT_EQ(hand.Evaluate(page, "document.title"), "Pay by card \u2013 Shop");
  hand.Evaluate(page,
                "document.querySelector('input').value = '4111'; "
                "document.querySelector('button').click()");
  ASSERT_TRUE(browser.WaitForOutput("status=success\n"));
  browser.Kill(SIGTERM);
  const Finished run = browser.Wait();
  EXPECT_EQ(run.out, kVisits +
                         "https://shop.test/pay\nhttps://shop.test/done\n"
                         "https://shop.test/QUIRESaltmoor?status=success\n");
  EXPECT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(site_.Posted(), std::vector<std::string>{"/pay card=4111&decision=approve session=s1"});
  EXPECT_FALSE(HasProfile());
}

TEST_F(Chromium, TellsAClosedWindowFromACrash) {
  for (const bool crash : {false, true}) {
    std::filesystem::remove(kDevtoolsFile);
    Process browser(kCommand, Settings());
    BrowserHand hand(kDevtoolsFile);
    hand.Page("https://shop.test/pay");
    if (crash) {
      const json processes = hand.Call("SystemInfo.getProcessInfo");
      for (const json& process : processes["processInfo"]) {
        if (process["type"] == "browser") kill(process["id"].get<pid_t>(), SIGKILL);
      }
    } else {
      const json targets = hand.Call("Target.getTargets");
      for (const json& target : targets["targetInfos"]) {
        if (target["type"] == "page") {
          hand.Call("Target.closeTarget", {{"targetId", target["targetId"]}});
        }
      }
    }
    const Finished run = browser.Wait();
    EXPECT_EQ(run.out, kVisits);
    EXPECT_EQ(run.exit_code, crash ? 1 : 0) << run.err;
    EXPECT_EQ(run.err, crash ? "browser: chromium crashed\n" : "");
    EXPECT_FALSE(HasProfile());
  }
}

TEST_F(Chromium, LoadsNothingFromAServerThatItCannotTrust) {
  Process browser(kCommand, Settings(false));
  BrowserHand hand(kDevtoolsFile);
  ASSERT_TRUE(browser.WaitForOutput("/start\n"));
  const std::string text =
      hand.Evaluate(hand.Page("https://shop.test/start"), "document.body.innerText");
  EXPECT_NE(text.find("ERR_CERT_AUTHORITY_INVALID"), std::string::npos) << text;
  EXPECT_EQ(site_.requests(), 0);
}

TEST_F(Chromium, SaysWhatIsMissing) {
  const Finished run =
      RunProgram(kCommand, Settings(false) + Environment{{"PATH", folder_.path()}});
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_EQ(run.err.find("browser: chromium is not installed; "), 0U) << run.err;
}

}  // namespace
}  // namespace tests
