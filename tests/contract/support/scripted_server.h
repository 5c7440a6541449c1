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
  std::map<std::string, std::string> fields;  ///< names in lower case
  std::string body;
  int connection = 0;  ///< from 1 on, in the order accepted

  /// A header; empty if the request has none of that name.
  std::string operator[](const std::string& name) const {
    const auto field = fields.find(name);
    return field == fields.end() ? "" : field->second;
  }
};

enum class AfterReply { kKeep, kClose, kReset, kHang };

/// The bytes to send, and what happens to the connection afterwards.
struct Reply {
  Reply(std::string reply_bytes,
        AfterReply reply_after = AfterReply::kKeep)  // implicit, for Answer()
      : bytes(std::move(reply_bytes)), after(reply_after) {}
  std::string bytes;
  AfterReply after;
};

using Fields = std::vector<std::string>;

/// An answer with the right Content-Length. `fields` are header lines without line ends.
std::string Answer(int status, const std::string& body, const Fields& fields = {});

/// An HTTP or HTTPS server on loopback that sends what its script returns and records all requests.
class ScriptedServer {
 public:
  using Script = std::function<Reply(const Request&)>;

  /// \param script  called on one thread per connection, under a lock.
  /// \param certificate  of an HTTPS server; null for HTTP.
  explicit ScriptedServer(Script script, const Certificate* certificate = nullptr);
  /// Sends the same reply to every request.
  explicit ScriptedServer(const Reply& reply, const Certificate* certificate = nullptr)
      : ScriptedServer([reply](const Request&) { return reply; }, certificate) {}
  ~ScriptedServer();

  std::string Address(const std::string& target = "/") const;
  std::string port() const { return std::to_string(port_); }
  std::vector<Request> requests() const;
  int connections() const { return connections_; }

 private:
  class Connection;
  void Accept();
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
