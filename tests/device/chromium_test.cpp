#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

#include "device/test_site.h"
#include "support/devtools_client.h"
#include "support/files.h"

namespace tests {
namespace {

using nlohmann::json;

/// A payment page over TLS.
class BrowserChromium : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(IsChromiumInstalled());
    site_.AddRedirect("/start", "/pay");
    site_.AddPage("/pay",
                  "<title>Shop</title><form method=post><input name=card><button name=decision "
                  "value=approve>Pay</button></form><iframe src=/frame></iframe>");
    site_.AddPostHandler("/pay", [](const httplib::Request&, httplib::Response& response) {
      response.set_redirect("/done", 303);
    });
    site_.AddRedirect("/done", "https://shop.test/QUIRESaltmoor?status=success");
    site_.Start();
  }

  Environment EnvironmentFor(bool trusting) const {
    return site_.environment() +
           Environment{{"QUIRE_BROWSER_HEADLESS", "1"},
                       {"TMPDIR", directory_.path()},
                       {"TABULET_CA_FILE", trusting ? directory_ / "ca.pem" : ""}};
  }

  bool HasProfile() const {
    for (const auto& entry : std::filesystem::directory_iterator(directory_.path())) {
      if (entry.path().filename().string().starts_with("quire-chromium")) return true;
    }
    return false;
  }

  const TemporaryDirectory directory_;
  const Command kCommand = {QUIRE_BUILD_DIR "/bin/browser-chromium", "-wirecard",
                            "https://shop.test/start"};
  const std::string kUrlsBeforeForm = "https://shop.test/start\nhttps://shop.test/pay\n";
  TestSite site_{directory_.path()};
};

TEST_F(BrowserChromium, PrintsEachUrlOfPaymentOnDevice) {
  // The store library runs it this way: on the device, ended by a signal.
  Process browser(
      Command{QUIRE_DEVICE, "--build", QUIRE_BUILD_DIR, "--device", "scratch"} +
          Command{"--no-scanner", "--browser", "chromium", "--share", directory_.path()} +
          Command{"/ebrmain/bin/browser.app", "-wirecard", "https://shop.test/start"},
      EnvironmentFor(true));
  DevtoolsClient devtools(directory_.path());
  const std::string page = devtools.WaitForPage("https://shop.test/pay");
  EXPECT_EQ(devtools.Evaluate(page, "document.title"), "Pay by card \u2013 Shop");
  devtools.Evaluate(page,
                    "document.querySelector('input').value = '4111'; "
                    "document.querySelector('button').click()");
  ASSERT_TRUE(browser.WaitForOutput("status=success\n"));
  browser.Kill(SIGTERM);
  const ProcessResult run = browser.Wait();
  EXPECT_EQ(run.out, kUrlsBeforeForm +
                         "https://shop.test/pay\nhttps://shop.test/done\n"
                         "https://shop.test/QUIRESaltmoor?status=success\n");
  EXPECT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(site_.posts(), std::vector<std::string>{"/pay card=4111&decision=approve session=s1"});
  EXPECT_FALSE(HasProfile());
}

TEST_F(BrowserChromium, DistinguishesClosedWindowFromCrash) {
  for (const bool crash : {false, true}) {
    Process browser(kCommand, EnvironmentFor(true));
    DevtoolsClient devtools(directory_.path());
    devtools.WaitForPage("https://shop.test/pay");
    if (crash) {
      const json processes = devtools.Call("SystemInfo.getProcessInfo");
      for (const json& process : processes["processInfo"]) {
        if (process["type"] == "browser") kill(process["id"].get<pid_t>(), SIGKILL);
      }
    } else {
      const json targets = devtools.Call("Target.getTargets");
      for (const json& target : targets["targetInfos"]) {
        if (target["type"] == "page") {
          devtools.Call("Target.closeTarget", {{"targetId", target["targetId"]}});
        }
      }
    }
    const ProcessResult run = browser.Wait();
    EXPECT_EQ(run.out, kUrlsBeforeForm);
    EXPECT_EQ(run.exit_code, crash ? 1 : 0) << run.err;
    EXPECT_EQ(run.err, crash ? "browser: chromium crashed\n" : "");
    EXPECT_FALSE(HasProfile());
  }
}

TEST_F(BrowserChromium, RefusesUntrustedServer) {
  Process browser(kCommand, EnvironmentFor(false));
  DevtoolsClient devtools(directory_.path());
  ASSERT_TRUE(browser.WaitForOutput("/start\n"));
  const std::string text =
      devtools.Evaluate(devtools.WaitForPage("https://shop.test/start"), "document.body.innerText");
  EXPECT_NE(text.find("ERR_CERT_AUTHORITY_INVALID"), std::string::npos) << text;
  EXPECT_EQ(site_.requests(), 0);
}

}  // namespace
}  // namespace tests
