#include <algorithm>
#include <filesystem>
#include <tuple>

#include "quire_on_device.h"

namespace tests {
namespace {

/// The application, with faults armed in the shop.
class QuireFailure : public QuireOnDevice {
 protected:
  /// A fault for the next requests of a path.
  struct Fault {
    std::string path;
    Json fault;
    int times = 1;
  };

  /// Expects a command to end with this exit code and message, at every log level, after each of
  /// the faults was delivered.
  void ExpectFailure(int exit_code, const std::string& message, const Command& arguments,
                     const std::vector<Fault>& faults = {}, const std::string& input = "") {
    const Environment base = environment_;
    for (const char* level : {"0", "2", "5"}) {
      SCOPED_TRACE(std::string("log level ") + level);
      environment_ = base + Environment{{"TABULET_LOG_LEVEL", level}};
      if (clears_cache_) std::filesystem::remove(device_ + "/ext1/system/config/switchboard.json");
      int delivered = shop_.Delivered();
      for (const Fault& each : faults) {
        Json fault = each.fault;
        fault.update({{"path", each.path}, {"times", each.times}});
        shop_.Arm(fault);
        delivered += each.times;
      }
      const std::string err = Run(exit_code, arguments, input).err;
      EXPECT_EQ(err.substr(std::min(err.find("quire: "), err.size())), "quire: " + message + "\n");
      EXPECT_EQ(shop_.Delivered(), delivered);
    }
    environment_ = base;
  }

  static Json Refuse(const std::string& message) {
    return {{"fault", "refuse"}, {"body", message}};
  }

  static Json Respond(const std::string& response) {
    return {{"fault", "body"}, {"body", R"({"error": "false", "response": )" + response + "}"}};
  }

  void DisconnectServers() {
    environment_ = {{"TABULET_CONNECT_TO",
                     "shop.quire.example:443:127.0.0.1:1,config.saltmoor.example:80:127.0.0.1:1"}};
  }

  bool clears_cache_ = false;  ///< without the library's cache of which shop this is
  const Json status_503_ = {{"fault", "status"}};
  const Json unreadable_ = {{"fault", "body"}, {"body", "<html>no JSON</html>"}};
};

constexpr char kNoConnection[] =
    "the server cannot be reached (the connection was refused). Check the network and try again.";

TEST_F(QuireFailure, ReportsWhyItCannotStart) {
  const std::string config_file = device_ + "/ext1/system/config/quire_config.cfg";
  std::filesystem::create_directories(config_file);
  ExpectFailure(6,
                "The shop cannot be opened: the device's configuration file cannot be opened. On "
                "a PC, run quire through the launcher, as in \"quire-device quire shop\"; on a "
                "device, check the file's permissions.",
                {"shop"});
  std::filesystem::remove(config_file);
  clears_cache_ = true;

  const std::string service = "/get-device-opds-config";
  ExpectFailure(4, "The shop cannot be opened: the server answered HTTP 503. Try again later.",
                {"account"}, {{service, status_503_}});
  ExpectFailure(4, "The shop is unknown: the server's answer is unreadable. Try again later.",
                {"shop"}, {{service, unreadable_, 2}});
  DisconnectServers();
  ExpectFailure(4, std::string("The shop cannot be opened: ") + kNoConnection, {"account"});

  if (std::filesystem::exists("/mnt/ext1")) return;
  const ProcessResult off_device = RunProgram({QUIRE_BUILD_DIR "/bin/quire", "shop"});
  EXPECT_EQ(off_device.exit_code, 6);
  ExpectContains(off_device.err, "quire-device");
}

TEST_F(QuireFailure, NeverShowsAnUnknownListAsEmpty) {
  LogIn();
  const std::string list = "/getUserEbook";
  const std::string unknown = "The list of your books is unknown: ";
  for (const Command& command :
       {Command{"books"}, Command{"download", "--all"}, Command{"status", "9780000001351"}}) {
    ExpectFailure(4, unknown + "the server answered HTTP 503. Try again later.", command,
                  {{list, status_503_, 2}});
  }
  ExpectFailure(4, unknown + "the server's answer is unreadable. Try again later.", {"books"},
                {{list, unreadable_, 2}});
  ExpectFailure(3,
                "The shop does not accept your session: \"No such session.\" Log in again with "
                "\"quire login\".",
                {"books"}, {{list, Refuse("No such session."), 3}});
  Run(0, {"books"});
  DisconnectServers();
  ExpectFailure(4, unknown + kNoConnection, {"books"});
  Run(4, {"--log", "5", "shell"}, "books\n");
  ExpectFailure(4, std::string("The catalogue cannot be read: ") + kNoConnection, {"catalogue"});
  Run(0, {"cart"});
}

TEST_F(QuireFailure, ReportsWhyNobodyIsLoggedIn) {
  ExpectFailure(3, "You are not logged in. Log in with \"quire login\".", {"books"});
  Run(0, {"shop"});
  const Command login{"login", "anna@quire.example"};
  const Command register_command{"register", "a@b.example", "--name", "A", "--lastname", "B"};
  const std::string not_logged_in = "You are not logged in: ";
  ExpectFailure(
      1, not_logged_in + "\"The e-mail address or the password is wrong. Please try again.\"",
      login, {}, "wrong\n");
  shop_.Arm({{"path", "/login"}, {"fault", "body"}, {"body", "{}"}});
  Run(1, login, "secret\n");
  ExpectFailure(4,
                "Whether you are registered is unknown: the server's answer is unreadable. Try "
                "\"quire login\".",
                register_command, {{"/registerUser", unreadable_}}, "secret\n");
  DisconnectServers();
  ExpectFailure(4, not_logged_in + kNoConnection, login, {}, "secret\n");
  ExpectFailure(4, std::string("You are not registered: ") + kNoConnection, register_command, {},
                "secret\n");
}

TEST_F(QuireFailure, KeepsACartThatCannotBePriced) {
  LogIn();
  const std::string ean = FindUnboughtEans().at(0);
  Run(0, {"cart", "add", ean});
  ExpectFailure(4,
                "The cart could not be priced: the server answered HTTP 503. The cart is kept; try "
                "again later.",
                {"checkout"}, {{"/addToCart", status_503_}, {"/getCart", status_503_}});
  ExpectFailure(5,
                "The shop no longer sells any title in the cart. Remove them with \"quire cart "
                "remove EAN\".",
                {"checkout"}, {{"/getCart", Respond(R"({"orderItems": []})")}});
  EXPECT_EQ(RunJson({"cart"})["items"].size(), 1U);
}

TEST_F(QuireFailure, ReportsWhyAPaymentDidNotStart) {
  LogIn();
  Run(0, {"cart", "add", FindUnboughtEans().at(0)});
  const auto expect = [&](int exit_code, const std::string& reason,
                          const std::vector<Fault>& faults) {
    ExpectFailure(
        exit_code,
        "The payment was not started: " + reason + " Nothing was charged, and the cart is kept.",
        {"pay", "card"}, faults);
  };
  const std::string commit = "/commitOrderForPayment";
  const std::string no_browser = "the device's browser could not be run.";
  expect(1, "\"Out of stock.\"", {{commit, Refuse("Out of stock.")}});
  expect(4, "the server answered HTTP 503.", {{commit, status_503_}});
  expect(1, "the shop named no payment page.", {{commit, Respond(R"({"status": "M"})")}});
  expect(6, no_browser, {{commit, Respond(R"({"url": "file:///payment"})")}});
  const std::string browser = device_ + "/ebrmain/bin/browser.app";
  std::filesystem::remove(browser);
  WriteFile(browser, "no program");
  expect(6, no_browser, {});
  EXPECT_EQ(RunJson({"cart"})["items"].size(), 1U);
}

TEST_F(QuireFailure, ReportsAPaymentThatDidNotSucceed) {
  LogIn();
  Run(0, {"cart", "add", FindUnboughtEans().at(0)});
  for (const auto& [decision, closing, state] :
       {std::tuple("cancel", "The browser has closed.", "was not paid: the shop reports that"),
        std::tuple("crash", "The browser failed.", "is open: the shop waits for its payment.")}) {
    environment_ = {{"QUIRE_BROWSER_ANSWER", decision}};
    const ProcessResult finished = Run(1, {"pay", "paypal"});
    ExpectContains(finished.err, state);
    ExpectContains(finished.out, closing);
  }
  EXPECT_EQ(RunJson({"cart"})["items"].size(), 1U);
}

TEST_F(QuireFailure, ReportsWhyADownloadFailed) {
  LogIn();
  const std::string ean = FindBoughtEpub();
  const std::string title = RunJson({"status", ean})[0]["title"];
  const std::string message = "“" + title + "” could not be downloaded (";
  ExpectFailure(1, message + "the server answered HTTP 404). Try again later.", {"download", ean},
                {{"/files/*", {{"fault", "status"}, {"status", 404}}}});
  ExpectFailure(
      1, message + "the server sends a web page, not a book). Try again later.", {"download", ean},
      {{"/files/*",
        {{"fault", "body"}, {"body", "<html/>"}, {"headers", {{"Content-Type", "text/html"}}}}}});
  EXPECT_EQ(RunJson({"status", ean})[0]["status"], "bought");
}

}  // namespace
}  // namespace tests
