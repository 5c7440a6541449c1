#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <list>

#include "devshop/shop_under_test.h"

namespace tests {
namespace {

using Clock = std::chrono::steady_clock;

class Program : public ShopUnderTest {
 protected:
  int port(const std::string& key) const {
    return std::stoi(address_.at(key).substr(address_.at(key).rfind(':') + 1));
  }

  /// Runs it to its end; gives the exit code and what it said on standard error.
  std::pair<int, std::string> fail(const std::vector<std::string>& options) const {
    std::string command = "timeout 10 '" QUIRE_DEVSHOP "'";
    for (const auto& option : options) command += " '" + option + "'";
    FILE* pipe = popen((command + " 2>&1 >/dev/null").c_str(), "r");
    std::string text;
    std::array<char, 512> piece{};
    while (fgets(piece.data(), piece.size(), pipe) != nullptr) text += piece.data();
    return {WEXITSTATUS(pclose(pipe)), text};
  }
  void expect_fail(const std::vector<std::string>& options, const std::string& what,
                   const std::string& mend) const {
    const auto [code, text] = fail(options);
    EXPECT_EQ(code, 2) << text;
    EXPECT_NE(text.find(what), std::string::npos) << text;
    EXPECT_NE(text.find(mend), std::string::npos) << text;
  }
};

/// A plain connection that says nothing.
class SilentConnection {
 public:
  explicit SilentConnection(int port) : fd_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  }
  ~SilentConnection() { close(fd_); }
  SilentConnection(const SilentConnection&) = delete;
  SilentConnection& operator=(const SilentConnection&) = delete;

 private:
  int fd_;
};

TEST_F(Program, IdleConnectionsNeitherBlockNorOutliveIt) {
  std::list<SilentConnection> silent;
  std::list<httplib::Client> idle;
  for (int i = 0; i < 20; ++i) {
    silent.emplace_back(port(i % 2 == 0 ? "shop" : "config"));
    idle.push_back(shop_client());
    idle.back().set_keep_alive(true);
    ASSERT_TRUE(idle.back().Get("/"));
  }
  const auto started = Clock::now();
  EXPECT_EQ(get("/").status, 200);
  EXPECT_TRUE(client("config").Get("/QUIRESaltmoor"));
  EXPECT_LT(Clock::now() - started, std::chrono::seconds(1));

  arm({{"path", "/"}, {"fault", "hang"}});
  std::thread hanging([&] { EXPECT_FALSE(shop_client().Get("/")); });
  while (delivered() == 0) std::this_thread::yield();
  const auto asked = Clock::now();
  const int status = process_->Terminate();
  EXPECT_LT(Clock::now() - asked, std::chrono::seconds(1));
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  hanging.join();
  EXPECT_FALSE(std::filesystem::exists(address_["ca"])) << "the temporary folder is gone";
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
  start({"--data", data});
  const std::string session = log_in("ben@quire.example");
  const auto [order, page] = commit(session, {"9004"}, {{"paymethod", "INVOICE"}});
  call("/submitOrder", {{"orderId", order}, {"opdsSessionId", session}});
  const auto open = commit(session, {"9006"}, {{"paymethod", "PAYPAL"}});
  const std::string link = file_path("9001");
  expect_fail({"--books", folder_ / "books", "--data", data}, data, "--data");

  const auto old_authority = address_["ca"];
  httplib::Client old_client("https://127.0.0.1");
  std::ifstream file(old_authority);
  const std::string pem(std::istreambuf_iterator<char>(file), {});
  start({"--data", data});
  std::ifstream new_file(address_["ca"]);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(new_file), {}), pem);
  const Json books = call("/getUserEbook", {{"opdsSessionId", log_in("ben@quire.example")}});
  ASSERT_EQ(books["response"].size(), 1u);
  EXPECT_EQ(books["response"][0]["orderItemEAN"], "9004");
  EXPECT_EQ(get(link).status, 200) << "links stay good";
  EXPECT_EQ(get(open.second).status, 200) << "so do open payments";

  stop();
  std::ofstream(data + "/state.json") << "{";
  expect_fail({"--books", folder_ / "books", "--data", data}, "state.json", "remove");
}

TEST_F(Program, SaysInASentenceWhyItDoesNotStart) {
  const std::string books = folder_ / "books";
  expect_fail({"--books", books, "--shop-port", std::to_string(port("shop"))}, "in use",
              "--shop-port");
  expect_fail({"--books", folder_ / "nowhere"}, "nowhere", "--books");
  expect_fail({"--books", books, "--accounts", folder_ / "nowhere"}, "nowhere", "--accounts");
  expect_fail({"--books", books, "--data", folder_ / "accounts.json/data"}, "accounts.json",
              "--data");
  expect_fail({"--certificate", "forged"}, "--certificate", "expired");
  ScratchFolder empty;
  expect_fail({"--books", empty.path()}, "no EPUB", "--books");

  const auto expect_bad_catalogue = [&](const char* json, const char* what) {
    folder_.write("bad/catalogue.json", json);
    expect_fail({"--books", folder_ / "bad"}, what, "catalogue.json");
  };
  expect_bad_catalogue("{", "books");
  expect_bad_catalogue(R"({"books":[{"ean":"1","title":"T","price":"4,99"}]})", "price");
  expect_bad_catalogue(R"({"books":[{"ean":"1","title":"T","price":"1","file":"../x"}]})", "../x");
  expect_bad_catalogue(R"({"books":[{"ean":7}]})", "ean");
}

TEST_F(Program, BearsWhateverAClientSends) {
  const auto status = [&](const std::string& path, const httplib::Headers& headers = {}) {
    const auto answer = shop_client().Get(path, headers);
    return answer ? answer->status : 0;
  };
  EXPECT_EQ(status("/files/"), 404);
  EXPECT_EQ(status("/files/a/b/c/../../etc/passwd"), 404);
  EXPECT_EQ(status("/covers/%00"), 404);
  EXPECT_EQ(status("/de/4711/product/%3Cscript%3E"), 404);
  EXPECT_EQ(status("/" + std::string(9000, 'a')), 414);
  EXPECT_EQ(get(kApi + "/login").status, 405);
  EXPECT_EQ(shop_client().Post(kApi + "/login", std::string(2 << 20, 'a'), "text/plain")->status,
            413);
  const httplib::MultipartFormDataItems parts{{"username", "x", "", ""}};
  EXPECT_EQ(shop_client().Post(kApi + "/login", parts)->status, 415);
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
