#include "scripted_server.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <sstream>
#include <stdexcept>

namespace {

/// Reads what has arrived; false at the end of the connection.
bool Fill(BIO* stream, std::string* buffer) {
  char block[16384];
  const int got = BIO_read(stream, block, sizeof block);
  if (got > 0) buffer->append(block, static_cast<std::size_t>(got));
  return got > 0;
}

std::string Take(std::string* buffer, std::size_t size) {
  std::string taken = buffer->substr(0, size);
  buffer->erase(0, size);
  return taken;
}

/// Reads one request; false at the end of the connection.
bool ReadRequest(BIO* stream, std::string* buffer, Request* request) {
  std::size_t head_size;
  while ((head_size = buffer->find("\r\n\r\n")) == std::string::npos) {
    if (!Fill(stream, buffer)) return false;
  }
  std::istringstream head(Take(buffer, head_size + 4));
  std::string line;
  head >> request->method >> request->target >> line;
  while (std::getline(head, line)) {
    const std::size_t colon = line.find(": ");
    if (colon == std::string::npos) continue;
    std::transform(line.begin(), line.begin() + colon, line.begin(), ::tolower);
    request->headers[line.substr(0, colon)] = line.substr(colon + 2, line.size() - colon - 3);
  }
  const std::size_t size = std::strtoul((*request)["content-length"].c_str(), nullptr, 10);
  while (buffer->size() < size) {
    if (!Fill(stream, buffer)) return false;
  }
  request->body = Take(buffer, size);
  return true;
}

}  // namespace

std::string MakeResponse(int status, const std::string& body, const HeaderLines& headers) {
  std::string text = "HTTP/1.1 " + std::to_string(status) + " Status\r\n";
  for (const std::string& header : headers) text += header + "\r\n";
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
    throw std::runtime_error("cannot listen on loopback");
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

std::string ScriptedServer::Url(const std::string& target) const {
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

Response ScriptedServer::Answer(const Request& request) {
  const std::lock_guard lock(mutex_);
  requests_.push_back(request);
  return script_(request);
}

void ScriptedServer::Serve(int socket, int number) {
  // OpenSSL may write to a closed connection. Other threads keep SIGPIPE fatal, so that the
  // platform's libraries must avoid it.
  sigset_t broken_pipe;
  sigemptyset(&broken_pipe);
  sigaddset(&broken_pipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &broken_pipe, nullptr);
  BIO* stream = BIO_new_socket(socket, BIO_NOCLOSE);
  if (tls_) stream = BIO_push(BIO_new_ssl(tls_.get(), 0), stream);
  std::string buffer;
  AfterResponse after = AfterResponse::kKeep;
  while (after == AfterResponse::kKeep) {
    Request request;
    request.connection = number;
    if (!ReadRequest(stream, &buffer, &request)) break;
    const Response response = Answer(request);
    std::size_t sent = 0;
    BIO_write_ex(stream, response.bytes.data(), response.bytes.size(), &sent);
    after = sent == response.bytes.size() ? response.after : AfterResponse::kClose;
  }
  if (after == AfterResponse::kHang) {
    while (Fill(stream, &buffer)) continue;
  } else if (after == AfterResponse::kReset) {
    const linger at_once{1, 0};
    setsockopt(socket, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
  } else if (tls_) {
    BIO_ssl_shutdown(stream);
  }
  BIO_free_all(stream);
  const std::lock_guard lock(mutex_);
  sockets_.erase(std::find(sockets_.begin(), sockets_.end(), socket));
  close(socket);
}
