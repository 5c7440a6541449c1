#include <boost/asio/ip/tcp.hpp>
#include <chrono>
#include <list>
#include <thread>

#include "devshop/running_shop.h"

namespace tests {
namespace {

using Clock = std::chrono::steady_clock;

class DevshopProgram : public RunningShop {
 protected:
  std::string Port(const std::string& key) const {
    return shop_->Address(key).substr(shop_->Address(key).rfind(':') + 1);
  }

  /// What the configuration port answers to these bytes.
  std::string StatusLine(const std::string& bytes) const {
    boost::asio::ip::tcp::iostream stream("127.0.0.1", Port("config"));
    stream << bytes << std::flush;
    std::string line;
    std::getline(stream, line);
    return line;
  }

  /// The program rejects these options with a message that contains both.
  static void ExpectStartFailure(const Command& options, const std::string& what,
                                 const std::string& mend) {
    const ProcessResult run = RunProgram(Command{"timeout", "10", QUIRE_DEVSHOP} + options);
    EXPECT_EQ(run.exit_code, 2) << run.err;
    EXPECT_NE(run.err.find(what), std::string::npos) << run.err;
    EXPECT_NE(run.err.find(mend), std::string::npos) << run.err;
  }
};

TEST_F(DevshopProgram, StopsAtOnceWithOpenConnections) {
  std::list<boost::asio::ip::tcp::iostream> silent;
  std::list<httplib::Client> idle;
  for (int i = 0; i < 20; ++i) {
    ASSERT_TRUE(silent.emplace_back("127.0.0.1", Port(i % 2 == 0 ? "shop" : "config")));
    idle.push_back(ShopClient());
    idle.back().set_keep_alive(true);
    ASSERT_TRUE(idle.back().Get("/"));
  }
  const auto started = Clock::now();
  EXPECT_EQ(Get("/").status, 200);
  EXPECT_TRUE(PlainClient("config").Get("/QUIRESaltmoor"));
  EXPECT_LT(Clock::now() - started, std::chrono::seconds(1));

  shop_->Arm({{"path", "/"}, {"fault", "hang"}});
  std::thread hanging([&] { EXPECT_FALSE(ShopClient().Get("/")); });
  while (shop_->Delivered() == 0) std::this_thread::yield();
  const auto asked = Clock::now();
  EXPECT_EQ(shop_->Stop(), 0);
  EXPECT_LT(Clock::now() - asked, std::chrono::seconds(1));
  hanging.join();
  EXPECT_FALSE(Exists(shop_->Address("ca"))) << "the temporary directory is removed";
}

TEST_F(DevshopProgram, ServesWarmRequestsWithoutDelay) {
  auto kept = ShopClient();
  kept.set_keep_alive(true);
  ASSERT_TRUE(kept.Get("/"));
  const auto started = Clock::now();
  for (int i = 0; i < 100; ++i) ASSERT_TRUE(kept.Get("/QUIRESaltmoor"));
  // A delayed acknowledgement costs 40 ms each.
  EXPECT_LT(Clock::now() - started, std::chrono::seconds(2));
}

TEST_F(DevshopProgram, ServesInvalidCertificateOnRequest) {
  ASSERT_TRUE(ShopClient().Get("/"));
  for (const char* kind : {"other-host", "expired", "unknown-authority"}) {
    Start({"--certificate", kind});
    EXPECT_EQ(ShopClient().Get("/").error(), httplib::Error::SSLServerVerification) << kind;
  }
}

TEST_F(DevshopProgram, KeepsStateInDataDirectory) {
  const std::string data = directory_ / "data";
  const Command again{"--books", directory_ / "books", "--data", data};
  Start({"--data", data});
  const std::string session = LogIn("ben@quire.example");
  const auto [order, page] = Commit(session, {"9004"}, {{"paymethod", "INVOICE"}});
  EXPECT_EQ(page, "") << "an invoice is approved without a page";
  Call("/submitOrder", {{"orderId", order}, {"opdsSessionId", session}});
  const auto open = Commit(session, {"9006"}, {{"paymethod", "PAYPAL"}});
  const std::string link = FilePath("9001");
  ExpectStartFailure(again, data, "--data");

  const std::string authority = ReadFile(shop_->Address("ca"));
  Start({"--data", data});
  EXPECT_EQ(ReadFile(shop_->Address("ca")), authority);
  const Json books = Call("/getUserEbook", {{"opdsSessionId", LogIn("ben@quire.example")}});
  ASSERT_EQ(books["response"].size(), 1u);
  EXPECT_EQ(books["response"][0]["orderItemEAN"], "9004");
  EXPECT_EQ(Get(link).status, 200) << "links stay good";
  EXPECT_EQ(Get(open.second).status, 200) << "so do open payments";

  shop_.reset();
  WriteFile(data + "/state.json", "{");
  ExpectStartFailure(again, "state.json", "remove");
}

TEST_F(DevshopProgram, ReportsReasonWhenStartFails) {
  const std::string books = directory_ / "books", nowhere = directory_ / "nowhere";
  const TemporaryDirectory empty;
  ExpectStartFailure({"--books", books, "--shop-port", Port("shop")}, "in use", "--shop-port");
  ExpectStartFailure({"--books", nowhere}, "nowhere", "--books");
  ExpectStartFailure({"--books", books, "--accounts", nowhere}, "nowhere", "--accounts");
  ExpectStartFailure({"--books", books, "--data", directory_ / "accounts.json/data"},
                     "accounts.json", "--data");
  ExpectStartFailure({"--certificate", "forged"}, "--certificate", "expired,");
  ExpectStartFailure({"--books", empty.path()}, "no EPUB", "--books");
  const std::pair<const char*, const char*> bad_catalogues[] = {
      {"{", "books"},
      {R"({"books":[{"ean":"1","title":"T","price":"4,99"}]})", "price"},
      {R"({"books":[{"ean":"1","title":"T","price":"1","file":"../accounts.json"}]})", "../acc"},
      {R"({"books":[{"ean":7}]})", "ean"}};
  for (const auto& [json, what] : bad_catalogues) {
    WriteFile(directory_ / "bad/catalogue.json", json);
    ExpectStartFailure({"--books", directory_ / "bad"}, what, "catalogue.json");
  }
}

TEST_F(DevshopProgram, SurvivesMalformedRequests) {
  const std::string login = kApi + "/login";
  const std::pair<std::string, int> rows[] = {{"/files/", 404},
                                              {"/files/a/b/c/../../etc/passwd", 404},
                                              {"/covers/%00", 404},
                                              {"/de/4711/product/%3Cscript%3E", 404},
                                              {"/" + std::string(9000, 'a'), 414},
                                              {login, 405}};
  for (const auto& [path, status] : rows) EXPECT_EQ(Get(path).status, status) << path;
  EXPECT_EQ(ShopClient().Post(login, std::string(2 << 20, 'a'), "text/plain")->status, 413);
  EXPECT_EQ(Get("/", {{"X-Long", std::string(70'000, 'a')}}).status, 431);
  httplib::Headers many;
  for (int i = 0; i < 200; ++i) many.emplace("X-" + std::to_string(i), "1");
  EXPECT_EQ(Get("/", many).status, 431);
  const std::string fields(20'000, '&');
  EXPECT_EQ(ShopClient().Post(login, fields, "application/x-www-form-urlencoded")->status, 413);
  for (const char* bytes : {"GET /\r\n\r\n", "BREW\r\n\r\n", "\1\2\3\4\r\n\r\n"}) {
    EXPECT_EQ(StatusLine(bytes), "HTTP/1.1 400 Bad Request\r") << bytes;
  }
  const httplib::MultipartFormDataItems parts{{"username", "x", "", ""}};
  EXPECT_EQ(ShopClient().Post(login, parts)->status, 415);
  // More titles than fit the limit that HTTP libraries set to forms.
  Fields cart;
  for (int i = 0; i < 600; ++i) cart.emplace_back(std::to_string(9001 + i), "1");
  EXPECT_EQ(Call("/addToCart", CartForm(LogIn(), cart))["error"], "false");
}

TEST_F(DevshopProgram, PrintsItsVersion) {
  const ProcessResult run = RunProgram({QUIRE_DEVSHOP, "--version"});
  EXPECT_EQ(run.exit_code, 0);
  EXPECT_EQ(run.out, "quire-devshop " QUIRE_VERSION "\n");
}

}  // namespace
}  // namespace tests
