#ifndef DEVSHOP_CONNECTION_H_
#define DEVSHOP_CONNECTION_H_

#include <optional>
#include <string>
#include <string_view>

#include "asio.h"

namespace devshop {

/// One accepted connection, plain or TLS. Its calls run one at a time, on the executor of its
/// socket. After a failure the connection is of no further use.
class Connection {
 public:
  /// `tls` is null for plain HTTP.
  Connection(tcp::socket socket, asio::ssl::context* tls);
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  /// The TLS handshake; true at once for plain HTTP.
  asio::awaitable<bool> Handshake();

  /// What was received and not yet consumed.
  std::string_view received() const { return received_; }
  void Consume(std::size_t size) { received_.erase(0, size); }
  /// Receives more. Fails after 30 s without a byte; `idle`: never.
  asio::awaitable<bool> Receive(bool idle);

  /// Appends to what Flush sends.
  void Append(std::string_view data) { unsent_ += data; }
  std::size_t unsent_bytes() const { return unsent_.size(); }
  asio::awaitable<bool> Flush();

  /// False when the client closes the connection meanwhile, noticed within 100 ms.
  asio::awaitable<bool> SleepUnlessClosed(int delay_ms);

  /// Ends the connection properly. With `drain`, what the client still sends is read for up to 5 s:
  /// closing with unread bytes would discard the last response.
  asio::awaitable<void> Close(bool drain);
  /// Ends the connection with a TCP reset.
  void Reset();

 private:
  boost::beast::tcp_stream tcp_;
  std::optional<asio::ssl::stream<boost::beast::tcp_stream&>> tls_;
  std::string received_;
  std::string unsent_;
};

}  // namespace devshop

#endif  // DEVSHOP_CONNECTION_H_
