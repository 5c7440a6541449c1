#ifndef DEVSHOP_HTTP_SERVER_H_
#define DEVSHOP_HTTP_SERVER_H_

#include <httplib.h>
#include <openssl/ssl.h>

#include <functional>
#include <string>
#include <thread>

#include "connection.h"
#include "stop_signal.h"
#include "text.h"

namespace devshop {

/// A request, whole. Names of headers compare without case.
struct Request {
  std::string method;
  std::string path;  ///< decoded
  Fields query;
  Fields form;  ///< empty unless the body is a URL-encoded form
  httplib::Headers headers;
  std::string body;

  std::string GetHeader(const std::string& name) const;
};

using Response = httplib::Response;

/// One port on 127.0.0.1. What httplib's own server lacks is here: the connections are ours, so
/// that they can be kept for as long as clients want without a thread that spins, be broken on
/// purpose, and be closed at once when the shop closes.
class HttpServer : private httplib::Server {
 public:
  /// Answers a request, on the connection's thread.
  using Handler = std::function<void(const Request&, Response&, Connection&)>;
  /// Told the status just before an answer goes out.
  using StatusObserver = std::function<void(int connection, int status)>;

  /// `tls` is null for plain HTTP. Everything given outlives the server.
  HttpServer(SSL_CTX* tls, StopSignal& stop, Handler handler, StatusObserver on_status = nullptr);
  ~HttpServer() override;

  /// Binds to the port, 0 for any, and serves from then on. Gives the port. Throws StartError.
  int start(int port, const std::string& option);

 private:
  bool process_and_close_socket(socket_t socket) override;
  void Handle(const httplib::Request& raw, Response& response, std::string body);

  SSL_CTX* tls_;
  StopSignal& stop_;
  Handler handler_;
  std::thread thread_;
};

}  // namespace devshop

#endif  // DEVSHOP_HTTP_SERVER_H_
