#include <signal.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "quire_on_device.h"

namespace fs = std::filesystem;

namespace tests {
namespace {

class QuirePayment : public QuireOnDevice {
 protected:
  void SetUp() override { Answer("approve"); }

  /// What the user does on the payment page.
  void Answer(const std::string& decision) { environment_ = {{"QUIRE_BROWSER_ANSWER", decision}}; }

  /// How often the shop has charged a customer for a title, and how often it has placed it.
  std::pair<int, int> Ledger(const std::string& email, const std::string& ean) const {
    std::pair<int, int> ledger;
    const Json orders = shop_.Control("/_orders")["orders"];
    for (const Json& order : orders) {
      const bool is_meant =
          order["email"] == email && order["eans"].dump().find(ean) != std::string::npos;
      if (is_meant && order["payment"] == "approved") ++ledger.first;
      if (is_meant && order["placed"] != "") ++ledger.second;
    }
    return ledger;
  }

  /// EANs that the user has not bought and that are not out of sale.
  std::vector<std::string> FindSoldEans() {
    auto eans = FindUnboughtEans();
    std::erase(eans, "9780000001429");
    return eans;
  }

  const std::string journal_ = device_ + "/ext1/system/config/quire_orders.json";
  const std::pair<int, int> once_{1, 1};
};

/// Payments that are killed at moments which are spread over their whole length, each by a customer
/// and on a device of its own.
class KilledPayment : public QuirePayment {
 protected:
  static constexpr const char* kEans[] = {"9780000001351", "9780000001917"};

  Command OnDevice(int number, const Command& arguments) const {
    return Command{QUIRE_DEVICE, "--device",      files_ / std::to_string(number),
                   "--build",    QUIRE_BUILD_DIR, "--no-scanner",
                   "--",         "quire"} +
           arguments;
  }

  static std::string Email(int number) { return "n" + std::to_string(number) + "@quire.example"; }

  void FillCart(int number) {
    const std::string script = files_ / ("script" + std::to_string(number));
    WriteFile(script, "register " + Email(number) + " --name A --lastname B\nsecret\ncart add " +
                          kEans[0] + " " + kEans[1] + "\n");
    const ProcessResult filled = RunProgram(Command{"sh", "-c", "exec \"$@\" <\"$0\"", script} +
                                            OnDevice(number, {"shell"}));
    ASSERT_EQ(filled.exit_code, 0) << filled.out << filled.err;
  }

  void PayUntilDone(int number) {
    ProcessResult paid;
    const auto is_done = [&] {
      paid = RunProgram(OnDevice(number, {"pay", "card"}), environment_);
      return paid.err.find("Another quire is paying") == std::string::npos;
    };
    EXPECT_TRUE(WaitUntil(is_done));
    const bool was_complete = paid.err.find("The cart is empty") != std::string::npos;
    EXPECT_TRUE(paid.exit_code == 0 || was_complete) << paid.out << paid.err;
  }

  /// Kills a payment after `delay`, pays again, and expects one charge and one placed order.
  void KillAndPayAgain(int number, std::chrono::milliseconds delay) {
    SCOPED_TRACE(std::to_string(delay.count()) + " ms");
    FillCart(number);
    {
      const Process quire(OnDevice(number, {"pay", "card"}), environment_);
      std::this_thread::sleep_for(delay);
    }
    const auto [charged, placed] = Ledger(Email(number), kEans[0]);
    if (charged > placed) ++lost_;
    PayUntilDone(number);
    for (const char* ean : kEans) EXPECT_EQ(Ledger(Email(number), ean), once_) << ean;
  }

  std::atomic<int> lost_{0};  ///< how many were charged and not placed when they were killed
};

TEST_F(KilledPayment, IsChargedAndPlacedOnce) {
  constexpr int kWorkers = 4;
  const char* const wanted = std::getenv("QUIRE_PAYMENT_KILLS");
  const int count = wanted == nullptr ? 20 : std::atoi(wanted);
  shop_.Arm({{"path", "*"}, {"fault", "hang"}, {"delay_ms", 100}, {"times", 1'000'000}});
  FillCart(0);
  const auto start = std::chrono::steady_clock::now();
  PayUntilDone(0);
  const std::chrono::duration<double, std::milli> length = std::chrono::steady_clock::now() - start;
  std::vector<std::thread> workers;
  for (int worker = 0; worker < kWorkers; ++worker) {
    workers.emplace_back([&, worker] {
      for (int i = worker; i < count; i += kWorkers) {
        const double delay = length.count() * 1.5 * i / count;  // several run at a time
        KillAndPayAgain(i + 1, std::chrono::milliseconds(static_cast<long>(delay)));
      }
    });
  }
  for (std::thread& worker : workers) worker.join();
  std::printf("%d payments killed within %.0f ms, %d of them between charge and order\n", count,
              length.count() * 1.5, lost_.load());
}

TEST_F(QuirePayment, SettlesWhatAnEarlierProcessLeft) {
  const struct {
    const char* path;
    Json fault;
    const char* left;     // what the interrupted payment says
    const char* settled;  // what the next start says
  } kCases[] = {
      {"/submitOrder", {{"fault", "truncate"}}, "could not be placed yet", "is paid and placed"},
      {"/submitOrder", {{"fault", "status"}}, "could not be placed yet", "is paid and placed"},
      {"/checkOrder", {{"fault", "status"}}, "was paid is unknown", "is paid and placed"},
      {"/checkOrder",
       {{"fault", "body"}, {"body", "<html>"}},
       "was paid is unknown",
       "is paid and placed"}};
  LogIn();
  const auto eans = FindSoldEans();
  ASSERT_GE(eans.size(), std::size(kCases));
  for (std::size_t i = 0; i < std::size(kCases); ++i) {
    SCOPED_TRACE(i);
    Json fault = kCases[i].fault;
    fault["path"] = kCases[i].path;
    Run(0, {"cart", "add", eans[i]});
    shop_.Arm(fault);
    ExpectContains(Run(4, {"pay", "paypal"}).err, kCases[i].left);
    EXPECT_EQ(fs::status(journal_).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    ExpectContains(Run(0, {"books"}).err, kCases[i].settled);
    EXPECT_EQ(Ledger("anna@quire.example", eans[i]), once_);
    EXPECT_EQ(RunJson({"cart"})["items"], Json::array());
    EXPECT_EQ(RunJson({"orders"})[0]["eans"], Json::array({eans[i]}));
    ExpectContains(Run(0, {"orders", "check"}).out, "No order is open");
  }
}

TEST_F(QuirePayment, TakesUpAnOpenOrderAgain) {
  LogIn();
  const auto eans = FindSoldEans();
  ASSERT_GE(eans.size(), 3U);
  Run(0, {"cart", "add", eans[0]});
  Answer("close");
  ExpectContains(Run(1, {"pay", "card"}).err, "waits for its payment");
  ExpectContains(Run(0, {"books"}).err, "waits for its payment");
  EXPECT_EQ(Run(0, {"cart"}).err, "") << "it asks the shop nothing";
  Run(1, {"orders", "check"});
  Run(0, {"cart", "add", eans[1]});
  shop_.Arm({{"path", "/getUserEbook"}, {"fault", "status"}, {"times", 2}});
  ExpectContains(Run(4, {"pay", "card"}).err, "was paid is unknown");

  Run(0, {"login", "ben@quire.example"}, "secret\n");
  ExpectContains(Run(0, {"orders", "check"}).out, "No order is open");
  LogIn();
  Answer("approve");
  const ProcessResult paid = Run(0, {"pay", "paypal"});
  ExpectContains(paid.out, "charged once");
  ExpectContains(paid.out, "Paid.");
  EXPECT_EQ(Ledger("anna@quire.example", eans[0]), once_);
  EXPECT_EQ(Ledger("anna@quire.example", eans[1]), std::pair(0, 0));
  EXPECT_EQ(RunJson({"cart"})["items"].size(), 1U);

  Answer("cancel");
  ExpectContains(Run(1, {"pay", "card"}).err, "was not paid");
  Answer("close");
  Run(1, {"pay", "card"});
  Run(1, {"logout", "--forget"});
  ExpectContains(Run(2, {"orders", "cancel"}).err, "charges you a second time");
  ExpectContains(Run(0, {"orders", "cancel", "--yes"}).out, "Gave up order");
  ExpectContains(Run(0, {"orders", "check"}).out, "No order is open");
}

TEST_F(QuirePayment, NeedsAReadableJournal) {
  LogIn();
  const std::string ean = FindSoldEans().at(0);
  Run(0, {"cart", "add", ean});
  WriteFile(journal_, "{\"orders\": [{\"id\": 5");
  ExpectContains(Run(0, {"books"}).err, "was damaged");
  EXPECT_TRUE(Exists(journal_ + ".bad"));
  EXPECT_EQ(Run(0, {"books"}).err, "");
  fs::create_directory(journal_);
  Run(6, {"pay", "card"});
  EXPECT_TRUE(shop_.Requests("/commitOrderForPayment").empty());
  fs::remove(journal_);
  Run(0, {"pay", "card"});
  EXPECT_EQ(Ledger("anna@quire.example", ean), once_);
}

TEST_F(QuirePayment, LeavesOutTitlesThatAreOwned) {
  LogIn();
  const auto eans = FindSoldEans();
  const std::string owned = FindBoughtEpub();
  ASSERT_GE(eans.size(), 1U);
  Run(1, {"cart", "add", owned});
  Run(0, {"cart", "add", "--again", owned, eans[0]});
  shop_.Arm({{"path", "/getUserEbook"}, {"fault", "status"}, {"times", 2}});
  ExpectContains(Run(4, {"pay", "card"}).err, "The list of your books is unknown");
  shop_.Arm({{"path", "/getUserEbook"}, {"fault", "status"}, {"times", 2}});
  ExpectContains(Run(4, {"checkout"}).err, "The list of your books is unknown");
  EXPECT_TRUE(shop_.Requests("/addToCart").empty());
  ExpectContains(Run(0, {"checkout"}).err, "(" + owned + ") is yours already");
  Run(0, {"pay", "card"});
  EXPECT_EQ(Ledger("anna@quire.example", eans[0]), once_);
  EXPECT_EQ(Ledger("anna@quire.example", owned), std::pair(0, 0));
  Run(0, {"cart", "add", "--again", owned});
  Run(0, {"pay", "card", "--again"});
  EXPECT_EQ(Ledger("anna@quire.example", owned), once_);
}

TEST_F(QuirePayment, NumbersTheCartInOneWay) {
  LogIn();
  auto eans = FindSoldEans();
  ASSERT_GE(eans.size(), 4U);
  eans.resize(4);
  std::sort(eans.rbegin(), eans.rend());  // the shop sorts them the other way round
  const auto hyphenate = [](std::string ean) { return ean.insert(3, "-").insert(6, "-"); };
  Run(0, {"cart", "add", eans[0], eans[1], hyphenate(eans[2]), eans[3]});
  const auto numbered = [&](const Command& command) {
    std::vector<std::string> list;
    const Json items = RunJson(command)["items"];
    for (const Json& item : items) {
      EXPECT_EQ(item["position"], list.size() + 1);
      list.push_back(item["ean"]);
    }
    return list;
  };
  EXPECT_EQ(numbered({"cart"}), eans);
  EXPECT_EQ(numbered({"checkout"}), eans);
  Run(0, {"shell"}, "checkout\ncart remove 2\ncart remove '#1'\n");
  EXPECT_EQ(numbered({"cart"}), (std::vector{eans[2], eans[3]}));
  Run(0, {"cart", "remove", hyphenate(eans[2])});
  EXPECT_EQ(numbered({"cart"}), std::vector{eans[3]});
  Run(5, {"cart", "remove", "0"});
  Run(5, {"cart", "remove", "2"});
  Run(0, {"cart", "add", eans[0], eans[1]});
  const std::size_t request_count = shop_.Requests("").size();
  Run(0, {"shell"}, "cart remove 1\ncart remove 2\n");
  EXPECT_EQ(numbered({"cart"}), std::vector{eans[0]});
  EXPECT_EQ(shop_.Requests("").size(), request_count) << "the shop was asked";
}

TEST_F(QuirePayment, KeepsThePromptAfterCtrlC) {
  LogIn();
  const std::string ean = FindSoldEans().at(0);
  Run(0, {"cart", "add", ean});
  shop_.Control("/_orders", {{"pending_checks", 1'000}});
  Process quire = StartOnTerminal(200, {"shell"});
  ASSERT_TRUE(quire.WaitForOutput("quire> "));
  quire.Type("pay card\n");
  ASSERT_TRUE(quire.WaitForOutput("Waiting for the shop"));
  quire.Type("\003");
  ASSERT_TRUE(quire.WaitForOutput("Stopped. The shop has not confirmed the payment"));
  shop_.Control("/_orders", {{"pending_checks", 0}});
  quire.Type("orders check\n");
  ASSERT_TRUE(quire.WaitForOutput("is paid and placed"));
  quire.Type("exit\n");
  EXPECT_EQ(quire.Wait().exit_code, 0);
  EXPECT_EQ(Ledger("anna@quire.example", ean), once_);
}

TEST_F(QuirePayment, ForgetsTheUserOnRequest) {
  LogIn();
  Run(0, {"cart", "add", FindSoldEans().at(0)});
  Run(0, {"pay", "card"});
  ExpectContains(Run(0, {"logout"}).out, "logout --forget");
  Run(0, {"catalogue"});
  WriteFile(device_ + "/ext1/system/config/quire_history", "show Anna's book\n");
  Run(0, {"logout", "--forget"});
  for (const char* path : {"config/quire_history", "config/quire_titles.json", "cache/quire"}) {
    EXPECT_FALSE(Exists(device_ + "/ext1/system/" + path)) << path;
  }
  Run(3, {"books"});
  for (const auto& entry : fs::recursive_directory_iterator(device_ + "/ext1/system")) {
    if (entry.is_regular_file()) ExpectLacks(ReadFile(entry.path()), "anna@");
  }
}

}  // namespace
}  // namespace tests
