#include "connection.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <chrono>

namespace devshop {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kTransferTimeout{30};
constexpr std::chrono::seconds kDrainTimeout{5};
constexpr std::chrono::milliseconds kClosePollInterval{100};
constexpr std::size_t kReceive_bytes = 4 * 1024;

}  // namespace

Connection::Connection(tcp::socket socket, asio::ssl::context* tls) : tcp_(std::move(socket)) {
  error_code ignored;
  tcp_.socket().set_option(tcp::no_delay(true), ignored);
  if (tls != nullptr) tls_.emplace(tcp_, *tls);
}

asio::awaitable<bool> Connection::Handshake() {
  error_code error;
  tcp_.expires_after(kTransferTimeout);
  if (tls_) co_await tls_->async_handshake(asio::ssl::stream_base::server, StoreError(error));
  co_return !error;
}

asio::awaitable<bool> Connection::Receive(bool idle) {
  std::array<char, kReceive_bytes> bytes;
  error_code error;
  std::size_t size = 0;
  tcp_.expires_after(kTransferTimeout);
  if (idle) tcp_.expires_never();
  if (tls_) {
    size = co_await tls_->async_read_some(asio::buffer(bytes), StoreError(error));
  } else {
    size = co_await tcp_.async_read_some(asio::buffer(bytes), StoreError(error));
  }
  received_.append(bytes.data(), size);
  co_return !error;
}

asio::awaitable<bool> Connection::Flush() {
  error_code error;
  for (std::size_t sent = 0; sent < unsent_.size() && !error;) {
    const auto rest = asio::buffer(unsent_) + sent;
    tcp_.expires_after(kTransferTimeout);
    std::size_t size = 0;
    if (tls_) {
      size = co_await tls_->async_write_some(rest, StoreError(error));
    } else {
      size = co_await tcp_.async_write_some(rest, StoreError(error));
    }
    sent += size;
  }
  unsent_.clear();
  co_return !error;
}

asio::awaitable<bool> Connection::SleepUnlessClosed(int delay_ms) {
  asio::steady_timer timer(tcp_.get_executor());
  const auto end = Clock::now() + std::chrono::milliseconds(delay_ms);
  for (auto now = Clock::now(); now < end; now = Clock::now()) {
    timer.expires_at(std::min(end, now + kClosePollInterval));
    co_await timer.async_wait(asio::use_awaitable);
    pollfd client{tcp_.socket().native_handle(), POLLRDHUP, 0};
    if (poll(&client, 1, 0) != 0) co_return false;
  }
  co_return true;
}

asio::awaitable<void> Connection::Close(bool drain) {
  error_code error;
  tcp_.expires_after(kDrainTimeout);
  if (tls_ && SSL_is_init_finished(tls_->native_handle())) {
    // Do not wait for the client's close_notify.
    if (!drain) tcp_.socket().shutdown(tcp::socket::shutdown_receive, error);
    co_await tls_->async_shutdown(StoreError(error));
  }
  tcp_.socket().shutdown(tcp::socket::shutdown_send, error);
  std::array<char, kReceive_bytes> bytes;
  for (error = {}; drain && !error;) {
    co_await tcp_.async_read_some(asio::buffer(bytes), StoreError(error));
  }
  tcp_.close();
}

void Connection::Reset() {
  error_code ignored;
  tcp_.socket().set_option(tcp::socket::linger(true, 0), ignored);
  tcp_.close();
}

}  // namespace devshop
