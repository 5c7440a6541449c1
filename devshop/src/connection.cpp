#include "connection.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <openssl/err.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <utility>

namespace devshop {
namespace {

constexpr int kTransferTimeout_ms = 30'000;
constexpr int kNoTimeout_ms = -1;
constexpr std::size_t kBuffer_bytes = 64 * 1024;

void get_ip_and_port(socket_t socket, decltype(&getpeername) get_name, std::string& ip, int& port) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  if (get_name(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) return;
  std::array<char, INET_ADDRSTRLEN> text{};
  inet_ntop(AF_INET, &address.sin_addr, text.data(), text.size());
  ip = text.data();
  port = ntohs(address.sin_port);
}

/// Translates an OpenSSL result to that of a socket call, with what it waits for.
ssize_t ssl_result(SSL* ssl, int result, short* wanted) {
  if (result > 0) return result;
  const int error = SSL_get_error(ssl, result);
  if (error == SSL_ERROR_WANT_READ) *wanted = POLLIN;
  if (error == SSL_ERROR_WANT_WRITE) *wanted = POLLOUT;
  ERR_clear_error();
  return error == SSL_ERROR_ZERO_RETURN ? 0 : -1;
}

}  // namespace

Connection::Connection(socket_t socket, SSL_CTX* tls, const StopSignal& stop, int number)
    : socket_(socket), ssl_(tls ? SSL_new(tls) : nullptr, SSL_free), stop_(stop), number_(number) {
  fcntl(socket_, F_SETFL, fcntl(socket_, F_GETFL) | O_NONBLOCK);
  if (ssl_) SSL_set_fd(ssl_.get(), socket_);
}

Connection::~Connection() {
  if (reset_) {
    const linger at_once{1, 0};
    setsockopt(socket_, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
  } else if (ssl_ && SSL_is_init_finished(ssl_.get())) {
    ERR_clear_error();
    SSL_shutdown(ssl_.get());
    ERR_clear_error();
  }
  close(socket_);
}

bool Connection::accept() {
  return !ssl_ || transfer(
                      [this](short* wanted) {
                        return ssl_result(ssl_.get(), SSL_accept(ssl_.get()), wanted);
                      },
                      kTransferTimeout_ms) > 0;
}

bool Connection::wait_for_request() {
  head_sent_ = false;
  body_sent_ = 0;
  mishap_ = {};
  return !broken_ && (consumed_ < incoming_.size() || fill(kNoTimeout_ms));
}

bool Connection::wait_with_client(int delay_ms) {
  return wait(POLLRDHUP, delay_ms) == Wait::kTimeout;
}

void Connection::set_mishap(Mishap mishap) {
  mishap_ = std::move(mishap);
}

void Connection::reset() {
  broken_ = reset_ = true;
}

ssize_t Connection::read(char* data, size_t size) {
  if (consumed_ == incoming_.size() && !fill(kTransferTimeout_ms)) return broken_ ? -1 : 0;
  const auto taken = std::min(size, incoming_.size() - consumed_);
  incoming_.copy(data, taken, consumed_);
  consumed_ += taken;
  return static_cast<ssize_t>(taken);
}

/// httplib writes the head of an answer in one call and its body in further ones; a mishap may
/// concern the body only.
ssize_t Connection::write(const char* data, size_t size) {
  if (broken_) return -1;
  if (!head_sent_) {
    head_sent_ = true;
    outgoing_.append(data, size);
  } else if (!write_body(data, size)) {
    return -1;
  }
  // A broken answer is not waited with: the client sees its head before it sees the fault.
  const bool held = outgoing_.size() < kBuffer_bytes && mishap_.kind == Mishap::Kind::kNone;
  return held || flush() ? static_cast<ssize_t>(size) : -1;
}

bool Connection::write_body(const char* data, std::size_t size) {
  const std::size_t whole =
      mishap_.kind == Mishap::Kind::kNone
          ? size
          : std::min(size, mishap_.after_bytes - std::min(mishap_.after_bytes, body_sent_));
  outgoing_.append(data, whole);
  body_sent_ += whole;
  if (whole == size) return true;
  if (auto happened = std::exchange(mishap_.happened, nullptr)) happened();
  if (mishap_.kind == Mishap::Kind::kSlow) return drip(data + whole, size - whole);
  flush();
  broken_ = true;
  reset_ = mishap_.kind == Mishap::Kind::kReset;
  return false;
}

bool Connection::drip(const char* data, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) {
    if (!flush() || !wait_with_client(mishap_.delay_ms)) {
      broken_ = true;
      return false;
    }
    outgoing_ += data[i];
    ++body_sent_;
  }
  return true;
}

bool Connection::flush() {
  std::size_t sent = 0;
  while (!broken_ && sent < outgoing_.size()) {
    const char* rest = outgoing_.data() + sent;
    const std::size_t rest_size = outgoing_.size() - sent;
    const auto written = transfer(
        [&](short* wanted) -> ssize_t {
          if (ssl_) {
            const auto result = SSL_write(ssl_.get(), rest, static_cast<int>(rest_size));
            return ssl_result(ssl_.get(), result, wanted);
          }
          const auto result = send(socket_, rest, rest_size, MSG_NOSIGNAL);
          if (result < 0 && errno == EAGAIN) *wanted = POLLOUT;
          return result;
        },
        kTransferTimeout_ms);
    if (written <= 0) broken_ = true;
    sent += static_cast<std::size_t>(std::max<ssize_t>(written, 0));
  }
  outgoing_.clear();
  return !broken_;
}

bool Connection::fill(int timeout_ms) {
  incoming_.resize(kBuffer_bytes);
  consumed_ = 0;
  const auto got = transfer(
      [this](short* wanted) -> ssize_t {
        if (ssl_) {
          const auto result =
              SSL_read(ssl_.get(), incoming_.data(), static_cast<int>(incoming_.size()));
          return ssl_result(ssl_.get(), result, wanted);
        }
        const auto result = recv(socket_, incoming_.data(), incoming_.size(), 0);
        if (result < 0 && errno == EAGAIN) *wanted = POLLIN;
        return result;
      },
      timeout_ms);
  incoming_.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
  if (got < 0) broken_ = true;
  return got > 0;
}

ssize_t Connection::transfer(const std::function<ssize_t(short*)>& call, int timeout_ms) {
  for (;;) {
    short wanted = 0;
    const auto result = call(&wanted);
    if (wanted == 0) return result;
    if (wait(wanted, timeout_ms) != Wait::kReady) return -1;
  }
}

Connection::Wait Connection::wait(short events, int timeout_ms) const {
  std::array<pollfd, 2> waiting{{{socket_, events, 0}, {stop_.fd(), POLLIN, 0}}};
  const int ready = poll(waiting.data(), waiting.size(), timeout_ms);
  if (ready < 0 || waiting[1].revents != 0) return Wait::kEnded;
  return ready == 0 ? Wait::kTimeout : Wait::kReady;
}

void Connection::get_remote_ip_and_port(std::string& ip, int& port) const {
  get_ip_and_port(socket_, getpeername, ip, port);
}

void Connection::get_local_ip_and_port(std::string& ip, int& port) const {
  get_ip_and_port(socket_, getsockname, ip, port);
}

}  // namespace devshop
