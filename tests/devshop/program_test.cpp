#include <boost/asio/ip/tcp.hpp>
#include <chrono>
#include <list>
#include <thread>

#include "devshop/shop_under_test.h"

namespace tests {
namespace {

using Clock = std::chrono::steady_clock;

class Program : public ShopUnderTest {
 protected:
  std::string port(const std::string& key) const {
    return shop_->Address(key).substr(shop_->Address(key).rfind(':') + 1);
  }

  /// The program must refuse these options, in a sentence that has both.
  static void expect_fail(const Command& options, const std::string& what,
                          const std::string& mend) {
    const Finished run = RunProgram(Command{"timeout", "10", QUIRE_DEVSHOP} + options);
    EXPECT_EQ(run.exit_code, 2) << run.err;
    EXPECT_NE(run.err.find(what), std::string::npos) << run.err;
    EXPECT_NE(run.err.find(mend), std::string::npos) << run.err;
  }
};

TEST_F(Program, IdleConnectionsNeitherBlockNorOutliveIt) {
  std::list<boost::asio::ip::tcp::iostream> silent;
  std::list<httplib::Client> idle;
  for (int i = 0; i < 20; ++i) {
    ASSERT_TRUE(silent.emplace_back("127.0.0.1", port(i % 2 == 0 ? "shop" : "config")));
    idle.push_back(shop_client());
    idle.back().set_keep_alive(true);
    ASSERT_TRUE(idle.back().Get("/"));
  }
  const auto started = Clock::now();
  EXPECT_EQ(get("/").status, 200);
  EXPECT_TRUE(client("config").Get("/QUIRESaltmoor"));
  EXPECT_LT(Clock::now() - started, std::chrono::seconds(1));

  shop_->Arm({{"path", "/"}, {"fault", "hang"}});
  std::thread hanging([&] { EXPECT_FALSE(shop_client().Get("/")); });
  while (shop_->Delivered() == 0) std::this_thread::yield();
  const auto asked = Clock::now();
  EXPECT_EQ(shop_->Stop(), 0);
  EXPECT_LT(Clock::now() - asked, std::chrono::seconds(1));
  hanging.join();
  EXPECT_FALSE(Exists(shop_->Address("ca"))) << "the temporary folder is gone";
}

TEST_F(Program, WarmRequestsDoNotWaitForEachOther) {
  auto kept = shop_client();
  kept.set_keep_alive(true);
  ASSERT_TRUE(kept.Get("/"));
  const auto started = Clock::now();
  for (int i = 0; i < 100; ++i) ASSERT_TRUE(kept.Get("/QUIRESaltmoor"));
  // A delayed acknowledgement costs 40 ms each.
  EXPECT_LT(Clock::now() - started, std::chrono::seconds(2));
}

TEST_F(Program, ItsCertificateIsGoodUnlessAskedOtherwise) {
  ASSERT_TRUE(shop_client().Get("/"));
  for (const char* kind : {"other-host", "expired", "unknown-authority"}) {
    start({"--certificate", kind});
    EXPECT_EQ(shop_client().Get("/").error(), httplib::Error::SSLServerVerification) << kind;
  }
}

TEST_F(Program, KeepsItsAuthorityAndItsStateInTheDataFolder) {
  const std::string data = folder_ / "data";
  const Command again{"--books", folder_ / "books", "--data", data};
  start({"--data", data});
  const std::string session = log_in("ben@quire.example");
  const auto [order, page] = commit(session, {"9004"}, {{"paymethod", "INVOICE"}});
  call("/submitOrder", {{"orderId", order}, {"opdsSessionId", session}});
  const auto open = commit(session, {"9006"}, {{"paymethod", "PAYPAL"}});
  const std::string link = file_path("9001");
  expect_fail(again, data, "--data");

  const std::string authority = ReadFile(shop_->Address("ca"));
  start({"--data", data});
  EXPECT_EQ(ReadFile(shop_->Address("ca")), authority);
  const Json books = call("/getUserEbook", {{"opdsSessionId", log_in("ben@quire.example")}});
  ASSERT_EQ(books["response"].size(), 1u);
  EXPECT_EQ(books["response"][0]["orderItemEAN"], "9004");
  EXPECT_EQ(get(link).status, 200) << "links stay good";
  EXPECT_EQ(get(open.second).status, 200) << "so do open payments";

  shop_.reset();
  WriteFile(data + "/state.json", "{");
  expect_fail(again, "state.json", "remove");
}

TEST_F(Program, SaysInASentenceWhyItDoesNotStart) {
  const std::string books = folder_ / "books", nowhere = folder_ / "nowhere";
  const TemporaryFolder empty;
  expect_fail({"--books", books, "--shop-port", port("shop")}, "in use", "--shop-port");
  expect_fail({"--books", nowhere}, "nowhere", "--books");
  expect_fail({"--books", books, "--accounts", nowhere}, "nowhere", "--accounts");
  expect_fail({"--books", books, "--data", folder_ / "accounts.json/data"}, "accounts.json",
              "--data");
  expect_fail({"--certificate", "forged"}, "--certificate", "expired");
  expect_fail({"--books", empty.path()}, "no EPUB", "--books");
  const std::pair<const char*, const char*> bad_catalogues[] = {
      {"{", "books"},
      {R"({"books":[{"ean":"1","title":"T","price":"4,99"}]})", "price"},
      {R"({"books":[{"ean":"1","title":"T","price":"1","file":"../accounts.json"}]})", "../acc"},
      {R"({"books":[{"ean":7}]})", "ean"}};
  for (const auto& [json, what] : bad_catalogues) {
    WriteFile(folder_ / "bad/catalogue.json", json);
    expect_fail({"--books", folder_ / "bad"}, what, "catalogue.json");
  }
}

TEST_F(Program, BearsWhateverAClientSends) {
  const std::string login = kApi + "/login";
  const std::pair<std::string, int> rows[] = {{"/files/", 404},
                                              {"/files/a/b/c/../../etc/passwd", 404},
                                              {"/covers/%00", 404},
                                              {"/de/4711/product/%3Cscript%3E", 404},
                                              {"/" + std::string(9000, 'a'), 414},
                                              {login, 405}};
  for (const auto& [path, status] : rows) EXPECT_EQ(get(path).status, status) << path;
  EXPECT_EQ(shop_client().Post(login, std::string(2 << 20, 'a'), "text/plain")->status, 413);
  const httplib::MultipartFormDataItems parts{{"username", "x", "", ""}};
  EXPECT_EQ(shop_client().Post(login, parts)->status, 415);
  // More titles than fit the limit that HTTP libraries set to forms.
  Fields cart{{"opdsSessionId", log_in()}};
  for (int i = 0; i < 600; ++i) {
    cart.emplace_back("ean_" + std::to_string(i), std::to_string(9001 + i));
    cart.emplace_back("quantity_" + std::to_string(i), "1");
  }
  EXPECT_EQ(call("/addToCart", cart)["error"], "false");
}

}  // namespace
}  // namespace tests
