#ifndef TESTS_DEVICE_TEST_SITE_H_
#define TESTS_DEVICE_TEST_SITE_H_

#include <httplib.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/process.h"

namespace tests {

/// A web site that browser programs reach as shop.test.
class TestSite {
 public:
  using Handler = httplib::Server::Handler;

  /// \param directory  receives the certificate "ca.pem" of a site over TLS; empty for plain HTTP.
  explicit TestSite(const std::string& directory = "") : server_(CreateServer(directory)) {
    server_->set_pre_routing_handler([this](const httplib::Request&, httplib::Response&) {
      ++requests_;
      return httplib::Server::HandlerResponse::Unhandled;
    });
    port_ = server_->bind_to_any_port("127.0.0.1");
  }

  ~TestSite() {
    server_->stop();
    if (thread_.joinable()) thread_.join();
  }

  void AddPage(const std::string& path, const std::string& html, int status = 200) {
    server_->Get(path, [=](const httplib::Request&, httplib::Response& response) {
      response.status = status;
      response.set_content(html, "text/html");
    });
  }

  void AddRedirect(const std::string& path, const std::string& to) {
    server_->Get(path, [=](const httplib::Request&, httplib::Response& response) {
      response.set_header("Set-Cookie", "session=s1; Path=/");
      response.set_redirect(to, 302);
    });
  }

  /// Records each POST to `path` before it calls the handler.
  void AddPostHandler(const std::string& path, const Handler& handler) {
    server_->Post(path, [=, this](const httplib::Request& request, httplib::Response& response) {
      {
        const std::lock_guard lock(mutex_);
        posts_.push_back(request.target + " " + request.body + " " +
                         request.get_header_value("Cookie"));
      }
      handler(request, response);
    });
  }

  /// The recorded POST requests: target, body and cookies, separated by spaces.
  std::vector<std::string> posts() {
    const std::lock_guard lock(mutex_);
    return posts_;
  }
  int requests() const { return requests_; }

  /// Starts to serve. All pages must have been added.
  void Start() {
    thread_ = std::thread([this] { server_->listen_after_bind(); });
    while (!server_->is_running()) std::this_thread::yield();
  }

  /// The variables that lead a browser to the site, without trust in its certificate.
  Environment environment() const {
    const std::string target = ":127.0.0.1:" + std::to_string(port_);
    const std::string proxy = "http://127.0.0.1:9";  // the browsers must ignore it
    return {{"TABULET_CONNECT_TO", "shop.test:80" + target + ",:443" + target},
            {"http_proxy", proxy},
            {"https_proxy", proxy}};
  }

 private:
  static std::unique_ptr<httplib::Server> CreateServer(const std::string& directory) {
    if (directory.empty()) return std::make_unique<httplib::Server>();
    const std::string key = directory + "/key.pem", certificate = directory + "/ca.pem";
    RunProgram({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256",
                "-nodes", "-keyout", key, "-out", certificate, "-subj", "/CN=shop.test", "-addext",
                "subjectAltName=DNS:shop.test"});
    return std::make_unique<httplib::SSLServer>(certificate.c_str(), key.c_str());
  }

  std::unique_ptr<httplib::Server> server_;
  std::thread thread_;
  int port_ = 0;
  std::atomic<int> requests_ = 0;
  std::mutex mutex_;
  std::vector<std::string> posts_;
};

}  // namespace tests

#endif  // TESTS_DEVICE_TEST_SITE_H_
