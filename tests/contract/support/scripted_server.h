#ifndef TESTS_CONTRACT_SUPPORT_SCRIPTED_SERVER_H_
#define TESTS_CONTRACT_SUPPORT_SCRIPTED_SERVER_H_

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "certificates.h"

struct Request {
  std::string method;
  std::string target;
  std::map<std::string, std::string> headers;  ///< names in lower case
  std::string body;
  int connection = 0;  ///< from 1 on, in the order accepted

  /// A header; empty if the request has none of that name.
  std::string operator[](const std::string& name) const {
    const auto header = headers.find(name);
    return header == headers.end() ? "" : header->second;
  }
};

enum class AfterResponse { kKeep, kClose, kReset, kHang };

/// The bytes to send, and what happens to the connection afterwards.
struct Response {
  // Implicit: a script may return bytes.
  Response(std::string sent, AfterResponse next = AfterResponse::kKeep)
      : bytes(std::move(sent)), after(next) {}
  std::string bytes;
  AfterResponse after;
};

using HeaderLines = std::vector<std::string>;

/// A response with the right Content-Length. The header lines have no line ends.
std::string MakeResponse(int status, const std::string& body, const HeaderLines& headers = {});

/// An HTTP or HTTPS server on loopback that sends what its script returns and records all requests.
class ScriptedServer {
 public:
  using Script = std::function<Response(const Request&)>;

  /// \param script  called on one thread per connection, under a lock.
  /// \param certificate  of an HTTPS server; null for HTTP.
  explicit ScriptedServer(Script script, const Certificate* certificate = nullptr);
  /// Sends the same response to every request.
  explicit ScriptedServer(const Response& response, const Certificate* certificate = nullptr)
      : ScriptedServer([response](const Request&) { return response; }, certificate) {}
  ~ScriptedServer();

  std::string Url(const std::string& target = "/") const;
  std::string port() const { return std::to_string(port_); }
  std::vector<Request> requests() const;
  int connections() const { return connections_; }

 private:
  void Accept();
  Response Answer(const Request& request);
  void Serve(int socket, int number);

  const Script script_;
  std::unique_ptr<ssl_ctx_st, void (*)(ssl_ctx_st*)> tls_;
  int listener_ = -1;
  int port_ = 0;
  std::atomic<int> connections_{0};
  mutable std::mutex mutex_;
  std::vector<Request> requests_;
  std::vector<int> sockets_;
  std::vector<std::thread> threads_;
  std::thread accepter_;
};

#endif  // TESTS_CONTRACT_SUPPORT_SCRIPTED_SERVER_H_
