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

  /// The field, empty where the request has none.
  std::string operator[](const std::string& name) const {
    const auto field = fields.find(name);
    return field == fields.end() ? "" : field->second;
  }
};

enum class Then { kKeep, kClose, kReset, kHang };

/// What goes out on the connection, to the byte, and what becomes of the connection then.
struct Reply {
  Reply(std::string reply_bytes, Then then_what = Then::kKeep)  // an answer is a reply
      : bytes(std::move(reply_bytes)), then(then_what) {}
  std::string bytes;
  Then then;
};

using Fields = std::vector<std::string>;

/// An answer whose length is announced rightly; `fields` are lines without their ends.
std::string Answer(int status, const std::string& body, const Fields& fields = {});

/// A server on the loopback that does what its script says, right or wrong, and keeps a ledger.
class ScriptedServer {
 public:
  using Script = std::function<Reply(const Request&)>;

  /// \param script  called on one thread per connection, under a lock.
  /// \param certificate  null: plain HTTP.
  explicit ScriptedServer(Script script, const Certificate* certificate = nullptr);
  /// One that has the same reply to everything.
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
