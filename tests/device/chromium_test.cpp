#include <gtest/gtest.h>
#include <httplib.h>

#include <csignal>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>

#include "process.h"
#include "support/browser_hand.h"

namespace {

using nlohmann::json;

/// A payment page over TLS, and a browser that is not to be tricked about the certificate.
class Chromium : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(RunProgram({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                          "ec_paramgen_curve:prime256v1", "-nodes", "-keyout", folder_ / "key.pem",
                          "-out", folder_ / "ca.pem", "-subj", "/CN=shop.test", "-addext",
                          "subjectAltName=DNS:shop.test"})
                  .exit_code,
              0);
    server_ = std::make_unique<httplib::SSLServer>((folder_ / "ca.pem").c_str(),
                                                   (folder_ / "key.pem").c_str());
    server_->Get("/start", [](const httplib::Request&, httplib::Response& response) {
      response.set_redirect("/pay", 302);
    });
    server_->Get("/pay", [this](const httplib::Request&, httplib::Response& response) {
      ++pages_;
      response.set_content(
          "<title>Shop</title><form method=post><input name=card><button name=decision "
          "value=approve>Pay</button></form><iframe src=/frame></iframe>",
          "text/html");
    });
    server_->Post("/pay", [this](const httplib::Request& request, httplib::Response& response) {
      posted_ = request.body;
      response.set_redirect("/done", 303);
    });
    server_->Get("/done", [](const httplib::Request&, httplib::Response& response) {
      response.set_redirect("https://shop.test/QUIRESaltmoor?status=success", 302);
    });
    port_ = std::to_string(server_->bind_to_any_port("127.0.0.1"));
    thread_ = std::thread([this] { server_->listen_after_bind(); });
  }

  void TearDown() override {
    server_->stop();
    thread_.join();
  }

  Environment Settings(bool trusting = true) const {
    Environment settings = {{"TABULET_CONNECT_TO", "shop.test:443:127.0.0.1:" + port_},
                            {"QUIRE_BROWSER_HEADLESS", "1"},
                            {"QUIRE_BROWSER_DEVTOOLS_FILE", kDevtoolsFile},
                            {"TMPDIR", folder_.path()}};
    if (trusting) settings.emplace_back("TABULET_CA_FILE", folder_ / "ca.pem");
    return settings;
  }

  bool HasProfile() const {
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
      if (entry.path().filename().string().starts_with("quire-chromium")) return true;
    }
    return false;
  }

  const TemporaryFolder folder_;
  const std::string kDevtoolsFile = folder_ / "devtools";
  const std::vector<std::string> kCommand = {QUIRE_BUILD_DIR "/bin/browser-chromium", "-wirecard",
                                             "https://shop.test/start"};
  const std::string kVisits = "https://shop.test/start\nhttps://shop.test/pay\n";
  int pages_ = 0;
  std::string posted_;
  std::unique_ptr<httplib::SSLServer> server_;
  std::thread thread_;
  std::string port_;
};

TEST_F(Chromium, TellsEachAddressOfAPaymentOnTheDevice) {
  // As the store library has it: on the device, ended by whoever watches the addresses.
  std::vector<std::string> command = {QUIRE_DEVICE,
                                      "--build",
                                      QUIRE_BUILD_DIR,
                                      "--device",
                                      "scratch",
                                      "--no-scanner",
                                      "--browser",
                                      "chromium",
                                      "--share",
                                      folder_.path(),
                                      "/ebrmain/bin/browser.app",
                                      "-wirecard",
                                      "https://shop.test/start"};
  Process browser(command, Settings());
  tests::BrowserHand hand(kDevtoolsFile);
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
  EXPECT_EQ(posted_, "card=4111&decision=approve");
  EXPECT_FALSE(HasProfile());
}

TEST_F(Chromium, TellsAClosedWindowFromACrash) {
  for (const bool crash : {false, true}) {
    std::filesystem::remove(kDevtoolsFile);
    Process browser(kCommand, Settings());
    tests::BrowserHand hand(kDevtoolsFile);
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
  tests::BrowserHand hand(kDevtoolsFile);
  ASSERT_TRUE(browser.WaitForOutput("/start\n"));
  const std::string text =
      hand.Evaluate(hand.Page("https://shop.test/start"), "document.body.innerText");
  EXPECT_NE(text.find("ERR_CERT_AUTHORITY_INVALID"), std::string::npos) << text;
  EXPECT_EQ(pages_, 0);
}

TEST_F(Chromium, SaysWhatIsMissing) {
  Environment settings = Settings(false);
  settings.emplace_back("PATH", folder_.path());
  const Finished run = RunProgram(kCommand, settings);
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_EQ(run.err.find("browser: chromium is not installed; "), 0U) << run.err;
}

}  // namespace
