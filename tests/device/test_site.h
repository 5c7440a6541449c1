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
  /// \param directory  receives the certificate "ca.pem" of a site over TLS; empty for plain HTTP.
  explicit TestSite(const std::string& directory = "");
  ~TestSite();

  void AddPage(const std::string& path, const std::string& html, int status = 200);
  void AddRedirect(const std::string& path, const std::string& to);
  /// Records each POST to `path` before it calls the handler.
  void AddPostHandler(const std::string& path, const httplib::Server::Handler& handler);
  /// The recorded POST requests: target, body and cookies, separated by spaces.
  std::vector<std::string> posts();
  int requests() const { return requests_; }

  /// Starts to serve. All pages must have been added.
  void Start();
  /// The variables that lead a browser to the site, without trust in its certificate.
  Environment environment() const;

 private:
  std::unique_ptr<httplib::Server> server_;
  std::thread thread_;
  int port_ = 0;
  std::atomic<int> requests_ = 0;
  std::mutex mutex_;
  std::vector<std::string> posts_;
};

}  // namespace tests

#endif  // TESTS_DEVICE_TEST_SITE_H_
