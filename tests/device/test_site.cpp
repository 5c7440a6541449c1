#include "device/test_site.h"

namespace tests {
namespace {

std::unique_ptr<httplib::Server> MakeServer(const std::string& directory) {
  if (directory.empty()) return std::make_unique<httplib::Server>();
  const std::string key = directory + "/key.pem", certificate = directory + "/ca.pem";
  RunProgram({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256",
              "-nodes", "-keyout", key, "-out", certificate, "-subj", "/CN=shop.test", "-addext",
              "subjectAltName=DNS:shop.test"});
  return std::make_unique<httplib::SSLServer>(certificate.c_str(), key.c_str());
}

}  // namespace

TestSite::TestSite(const std::string& directory) : server_(MakeServer(directory)) {
  server_->set_pre_routing_handler([this](const httplib::Request&, httplib::Response&) {
    ++requests_;
    return httplib::Server::HandlerResponse::Unhandled;
  });
  port_ = server_->bind_to_any_port("127.0.0.1");
}

TestSite::~TestSite() {
  server_->stop();
  if (thread_.joinable()) thread_.join();
}

void TestSite::AddPage(const std::string& path, const std::string& html, int status) {
  server_->Get(path, [=](const httplib::Request&, httplib::Response& response) {
    response.status = status;
    response.set_content(html, "text/html");
  });
}

void TestSite::AddRedirect(const std::string& path, const std::string& to) {
  server_->Get(path, [=](const httplib::Request&, httplib::Response& response) {
    response.set_header("Set-Cookie", "session=s1; Path=/");
    response.set_redirect(to, 302);
  });
}

void TestSite::AddPostHandler(const std::string& path, const httplib::Server::Handler& handler) {
  server_->Post(path, [=, this](const httplib::Request& request, httplib::Response& response) {
    {
      const std::lock_guard lock(mutex_);
      posts_.push_back(request.target + " " + request.body + " " +
                       request.get_header_value("Cookie"));
    }
    handler(request, response);
  });
}

std::vector<std::string> TestSite::posts() {
  const std::lock_guard lock(mutex_);
  return posts_;
}

void TestSite::Start() {
  thread_ = std::thread([this] { server_->listen_after_bind(); });
  while (!server_->is_running()) std::this_thread::yield();
}

Environment TestSite::environment() const {
  const std::string target = ":127.0.0.1:" + std::to_string(port_);
  const std::string proxy = "http://127.0.0.1:9";  // the browsers must ignore it
  return {{"TABULET_CONNECT_TO", "shop.test:80" + target + ",:443" + target},
          {"http_proxy", proxy},
          {"https_proxy", proxy}};
}

}  // namespace tests
