#ifndef TESTS_SUPPORT_DEVTOOLS_CLIENT_H_
#define TESTS_SUPPORT_DEVTOOLS_CLIENT_H_

#include <gtest/gtest.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/websocket.hpp>
#include <nlohmann/json.hpp>
#include <string>

namespace tests {

/// Whether the programs that browser-chromium runs are installed. Must be asserted before a
/// DevtoolsClient is created, which otherwise waits for a browser that cannot start.
testing::AssertionResult IsChromiumInstalled();

/// Controls a running browser-chromium through the DevTools protocol. The functions throw
/// std::exception when the browser has exited or a page does not load in time.
class DevtoolsClient {
 public:
  /// Waits for the browser, which must run with QUIRE_BROWSER_HEADLESS=1.
  /// \param temp_directory  the browser's TMPDIR.
  explicit DevtoolsClient(const std::string& temp_directory);

  /// Waits until a page has loaded.
  /// \return its session, for the other functions.
  std::string WaitForPage(const std::string& url_prefix);

  /// Evaluates a script in a page.
  /// \return the value if it is a string, else an empty string.
  std::string Evaluate(const std::string& page, const std::string& script);

  /// Types into a form field of a page.
  void Type(const std::string& page, const std::string& field, const std::string& text);

  /// Sends a command to a page, or to the browser if `page` is empty.
  /// \return the result.
  nlohmann::json Call(const std::string& method,
                      const nlohmann::json& params = nlohmann::json::object(),
                      const std::string& page = "");

 private:
  boost::asio::io_context io_;
  boost::beast::websocket::stream<boost::asio::ip::tcp::socket> socket_{io_};
  int last_id_ = 0;
};

}  // namespace tests

#endif  // TESTS_SUPPORT_DEVTOOLS_CLIENT_H_
