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

/// A web site of the test's own, which browser programs reach as shop.test.
class TestSite {
 public:
  /// \param folder  where its certificate "ca.pem" is made, over which it speaks then; empty: none.
  explicit TestSite(const std::string& folder = "");
  ~TestSite();

  void Page(const std::string& path, const std::string& html, int status = 200);
  void Redirect(const std::string& path, const std::string& to);
  /// Keeps what is posted there: target, body and cookies, with a blank between.
  void OnPost(const std::string& path, const httplib::Server::Handler& answer);
  std::vector<std::string> Posted();
  int requests() const { return requests_; }

  /// To be called when its pages are there.
  void Start();
  /// What has the platform find it, whose certificate is not trusted by that alone.
  Environment Settings() const;

 private:
  std::unique_ptr<httplib::Server> server_;
  std::thread thread_;
  int port_ = 0;
  std::atomic<int> requests_ = 0;
  std::mutex mutex_;
  std::vector<std::string> posted_;
};

}  // namespace tests

#endif  // TESTS_DEVICE_TEST_SITE_H_
