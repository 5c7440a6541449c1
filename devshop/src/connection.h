#ifndef DEVSHOP_CONNECTION_H_
#define DEVSHOP_CONNECTION_H_

#include <httplib.h>
#include <openssl/ssl.h>

#include <functional>
#include <memory>
#include <string>

#include "stop_signal.h"

namespace devshop {

/// What goes wrong with an answer on its way out. Sizes count the bytes of its body.
struct Mishap {
  enum class Kind {
    kNone,
    kTruncate,  ///< closes after `after_bytes`
    kReset,     ///< resets the connection after `after_bytes`
    kSlow,      ///< sends a byte each `delay_ms` after `after_bytes`
  };
  Kind kind = Kind::kNone;
  std::size_t after_bytes = 0;
  int delay_ms = 0;
  std::function<void()> happened;  ///< called once, when it takes effect
};

/// One accepted connection, plain or TLS. Reads and writes are buffered; every wait ends when the
/// shop closes. One thread.
class Connection : public httplib::Stream {
 public:
  /// Takes the socket. `tls` is null for plain HTTP.
  Connection(socket_t socket, SSL_CTX* tls, const StopSignal& stop, int number);
  ~Connection() override;
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  /// Counts the accepted connections of all ports, from 1.
  int number() const { return number_; }

  /// The TLS handshake; true at once for plain HTTP.
  bool accept();
  /// Waits, as long as the client likes, for the first byte of a request.
  bool wait_for_request();
  /// Sends what is left of the answer.
  bool flush();
  /// Waits. False when the client has gone or the shop closes meanwhile.
  bool wait_with_client(int delay_ms);

  /// For the answer to come.
  void set_mishap(Mishap mishap);
  /// No byte goes out any more; the destructor closes without a farewell.
  void reset();
  bool is_broken() const { return broken_; }

  bool is_readable() const override { return !broken_; }
  bool is_writable() const override { return !broken_; }
  ssize_t read(char* data, size_t size) override;
  ssize_t write(const char* data, size_t size) override;
  void get_remote_ip_and_port(std::string& ip, int& port) const override;
  void get_local_ip_and_port(std::string& ip, int& port) const override;
  socket_t socket() const override { return socket_; }

 private:
  enum class Wait { kReady, kTimeout, kEnded };
  Wait wait(short events, int timeout_ms) const;
  /// Runs an OpenSSL or socket call until it does not want to wait any more.
  ssize_t transfer(const std::function<ssize_t(short* wanted)>& call, int timeout_ms);
  bool fill(int timeout_ms);
  bool write_body(const char* data, std::size_t size);
  bool drip(const char* data, std::size_t size);

  socket_t socket_;
  std::unique_ptr<SSL, decltype(&SSL_free)> ssl_;
  const StopSignal& stop_;
  int number_;
  std::string incoming_;
  std::size_t consumed_ = 0;
  std::string outgoing_;
  bool broken_ = false;
  bool reset_ = false;

  Mishap mishap_;
  bool head_sent_ = false;
  std::size_t body_sent_ = 0;
};

}  // namespace devshop

#endif  // DEVSHOP_CONNECTION_H_
