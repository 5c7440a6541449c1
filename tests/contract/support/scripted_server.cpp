#include "tests/contract/support/scripted_server.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <stdexcept>

namespace testing_support {

/// A socket, with or without TLS.
class ScriptedServer::Connection {
 public:
  Connection(int socket, ssl_ctx_st* context) : socket_(socket) {
    if (!context) return;
    tls_ = SSL_new(context);
    SSL_set_fd(tls_, socket);
    open_ = SSL_accept(tls_) == 1;
  }
  ~Connection() { SSL_free(tls_); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  bool open() const { return open_; }

  /// Reads up to one request; false at the end of the connection.
  bool Read(Request* request) {
    std::size_t head_end;
    while ((head_end = buffer_.find("\r\n\r\n")) == std::string::npos) {
      if (!Fill()) return false;
    }
    std::string head = buffer_.substr(0, head_end + 2);
    buffer_.erase(0, head_end + 4);
    const auto take_until = [&head](const std::string& stop) {
      const std::size_t end = head.find(stop);
      std::string part = head.substr(0, end);
      head.erase(0, end + stop.size());
      return part;
    };
    request->method = take_until(" ");
    request->target = take_until(" ");
    take_until("\r\n");
    while (!head.empty()) {
      std::string name = take_until(": ");
      std::transform(name.begin(), name.end(), name.begin(), ::tolower);
      request->fields[name] = take_until("\r\n");
    }
    const auto length = request->fields.find("content-length");
    const std::size_t size = length == request->fields.end() ? 0 : std::stoul(length->second);
    while (buffer_.size() < size) {
      if (!Fill()) return false;
    }
    request->body = buffer_.substr(0, size);
    buffer_.erase(0, size);
    return true;
  }

  bool Write(const std::string& bytes) {
    for (std::size_t sent = 0; sent < bytes.size();) {
      const std::size_t rest = bytes.size() - sent;
      const auto now = tls_ ? SSL_write(tls_, bytes.data() + sent, static_cast<int>(rest))
                            : send(socket_, bytes.data() + sent, rest, MSG_NOSIGNAL);
      if (now <= 0) return false;
      sent += static_cast<std::size_t>(now);
    }
    return true;
  }

  void Finish(Reply::Then then) {
    if (then == Reply::Then::kHang) {
      while (Fill()) continue;
    } else if (then == Reply::Then::kReset) {
      const linger at_once{1, 0};
      setsockopt(socket_, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    } else if (tls_) {
      SSL_shutdown(tls_);
    }
  }

 private:
  bool Fill() {
    char block[16384];
    const auto got =
        tls_ ? SSL_read(tls_, block, sizeof block) : recv(socket_, block, sizeof block, 0);
    if (got <= 0) return false;
    buffer_.append(block, static_cast<std::size_t>(got));
    return true;
  }

  const int socket_;
  SSL* tls_ = nullptr;
  bool open_ = true;
  std::string buffer_;
};

std::string Answer(int status, const std::string& body, const std::vector<std::string>& fields) {
  std::string text = "HTTP/1.1 " + std::to_string(status) + " Status\r\n";
  for (const std::string& field : fields) text += field + "\r\n";
  return text + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

ScriptedServer::ScriptedServer(Script script, const Certificate* certificate)
    : script_(std::move(script)), tls_(nullptr, SSL_CTX_free) {
  if (certificate) {
    tls_.reset(SSL_CTX_new(TLS_server_method()));
    SSL_CTX_use_certificate(tls_.get(), certificate->certificate.get());
    SSL_CTX_use_PrivateKey(tls_.get(), certificate->key.get());
  }
  listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  if (bind(listener_, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
      listen(listener_, 64) != 0 ||
      getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    throw std::runtime_error("no server on the loopback");
  }
  port_ = ntohs(address.sin_port);
  accepter_ = std::thread([this] { Accept(); });
}

ScriptedServer::~ScriptedServer() {
  shutdown(listener_, SHUT_RDWR);
  accepter_.join();
  {
    const std::lock_guard lock(mutex_);
    for (const int socket : sockets_) shutdown(socket, SHUT_RDWR);
  }
  for (std::thread& thread : threads_) thread.join();
  close(listener_);
}

std::string ScriptedServer::Address(const std::string& target) const {
  return (tls_ ? "https://127.0.0.1:" : "http://127.0.0.1:") + port() + target;
}

std::vector<Request> ScriptedServer::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

void ScriptedServer::Accept() {
  for (;;) {
    const int socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket < 0) return;
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    const int number = ++connections_;
    const std::lock_guard lock(mutex_);
    sockets_.push_back(socket);
    threads_.emplace_back([this, socket, number] { Serve(socket, number); });
  }
}

void ScriptedServer::Serve(int socket, int number) {
  // OpenSSL writes to connections that the client has given up. Elsewhere in the process the signal
  // stays deadly, so that the platform's libraries are seen to cause none.
  sigset_t broken_pipe;
  sigemptyset(&broken_pipe);
  sigaddset(&broken_pipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &broken_pipe, nullptr);
  {
    Connection connection(socket, tls_.get());
    while (connection.open()) {
      Request request;
      request.connection = number;
      if (!connection.Read(&request)) break;
      Reply reply;
      {
        const std::lock_guard lock(mutex_);
        requests_.push_back(request);
        reply = script_(request);
      }
      const bool sent = connection.Write(reply.bytes);
      if (sent && reply.then == Reply::Then::kKeep) continue;
      connection.Finish(reply.then);
      break;
    }
  }
  const std::lock_guard lock(mutex_);
  sockets_.erase(std::find(sockets_.begin(), sockets_.end(), socket));
  close(socket);
}

}  // namespace testing_support
