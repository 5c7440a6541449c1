#include <sys/resource.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/write.hpp>
#include <filesystem>
#include <fstream>
#include <list>

#include "devshop/running_shop.h"

namespace tests {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

constexpr rlim_t kDefaultFileLimit = 1024;
constexpr int kTlsIdle = 500, kPlainIdle = 1500, kBusy = 200;
constexpr std::size_t kBook_bytes = 256 * 1024;

/// A shop started under the usual limit of open files, and connections that the test reads when
/// it chooses.
class DevshopLoad : public RunningShop {
 protected:
  using Tls = asio::ssl::stream<tcp::socket>;

  void SetUp() override {
    rlimit files{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &files), 0);
    files.rlim_cur = kDefaultFileLimit;
    setrlimit(RLIMIT_NOFILE, &files);
    Start();
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);
  }

  void Connect(tcp::socket& socket, const std::string& port) const {
    const std::string& address = shop_->Address(port);
    const auto number = std::stoi(address.substr(address.rfind(':') + 1));
    socket.open(tcp::v4());
    socket.set_option(tcp::socket::receive_buffer_size(8 * 1024));
    socket.connect({asio::ip::address_v4::loopback(), static_cast<std::uint16_t>(number)});
  }

  static void Send(auto& stream, const std::string& path) {
    asio::write(stream, asio::buffer("GET " + path + " HTTP/1.1\r\nHost: shop\r\n\r\n"));
  }

  /// Reads a response and returns its body.
  static std::string Receive(auto& stream) {
    std::string text;
    const auto head = asio::read_until(stream, asio::dynamic_buffer(text), "\r\n\r\n");
    const auto length = text.find("Content-Length: ");
    if (length == std::string::npos) return {};
    const auto size = std::stoul(text.substr(length + 16));
    std::string body = text.substr(head);
    const auto received = body.size();
    body.resize(size);
    asio::read(stream, asio::buffer(body) + received);
    return body;
  }

  static std::size_t ShopThreads() {
    std::ifstream children("/proc/thread-self/children");
    std::string pid;
    children >> pid;
    const std::filesystem::directory_iterator threads("/proc/" + pid + "/task"), end;
    return static_cast<std::size_t>(std::distance(threads, end));
  }

  asio::io_context io_;
  asio::ssl::context tls_{asio::ssl::context::tls_client};
};

TEST_F(DevshopLoad, ServesThousandsOfClientsOnTwoThreads) {
  shop_->Control("/_books", {{"ean", "9001"}, {"size_bytes", kBook_bytes}});
  const std::string book = FilePath("9001");
  const std::string content = Get(book).body;
  ASSERT_EQ(content.size(), kBook_bytes);
  const auto threads = ShopThreads();
  EXPECT_LE(threads, 3u) << "two, and one of the thread sanitizer's own";

  std::list<tcp::socket> plain;
  std::list<Tls> idle, busy;
  for (int i = 0; i < kPlainIdle; ++i) {
    Connect(plain.emplace_back(io_), "config");
    Send(plain.back(), "/QUIRESaltmoor");
  }
  for (int i = 0; i < kTlsIdle + kBusy; ++i) {
    Tls& client = (i < kTlsIdle ? idle : busy).emplace_back(io_, tls_);
    Connect(client.next_layer(), "shop");
    client.handshake(Tls::client);
    Send(client, i < kTlsIdle ? "/QUIRESaltmoor" : book);
  }
  for (auto& client : plain) ASSERT_NE(Receive(client), "");
  for (auto& client : idle) ASSERT_NE(Receive(client), "");

  // The busy clients' responses are all in flight: none has been read.
  const auto asked = Clock::now();
  EXPECT_EQ(Get("/QUIRESaltmoor").status, 200);
  EXPECT_LT(Clock::now() - asked, std::chrono::seconds(2));
  EXPECT_EQ(ShopThreads(), threads);
  for (auto& client : busy) ASSERT_EQ(Receive(client), content);

  Send(plain.front(), "/QUIRESaltmoor");
  EXPECT_NE(Receive(plain.front()), "") << "an idle connection is still served";
  EXPECT_EQ(shop_->Stop(), 0);
}

}  // namespace
}  // namespace tests
