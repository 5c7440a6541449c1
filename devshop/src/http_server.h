#ifndef DEVSHOP_HTTP_SERVER_H_
#define DEVSHOP_HTTP_SERVER_H_

#include <openssl/ssl.h>

#include <functional>
#include <memory>
#include <string>

#include "http_message.h"

namespace devshop {

/// Ports of 127.0.0.1, served by coroutines on two threads, however many clients are connected.
class HttpServer {
 public:
  /// Completes the response to a request. Called on both threads; must not block.
  using Handler = std::function<void(const Request&, Response&)>;

  /// Raises the limit of open files as far as allowed. From now on SIGTERM and SIGINT end Run.
  HttpServer();
  ~HttpServer();

  /// Listens on a port, 0 for any, that Run will serve. `tls` is null for plain HTTP. Returns the
  /// port. Throws StartError, which names `option` as the one to change.
  int Listen(int port, const std::string& option, SSL_CTX* tls, Handler handler);

  /// Serves until SIGTERM or SIGINT, which close all connections at once.
  void Run();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace devshop

#endif  // DEVSHOP_HTTP_SERVER_H_
