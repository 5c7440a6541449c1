#ifndef TESTS_SUPPORT_BROWSER_HAND_H_
#define TESTS_SUPPORT_BROWSER_HAND_H_

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/websocket.hpp>
#include <nlohmann/json.hpp>
#include <string>

namespace tests {

/// The user's hand on a running browser-chromium, by the DevTools protocol. Its calls throw
/// std::exception when the browser has gone or a page does not come.
class BrowserHand {
 public:
  /// Waits for the browser.
  /// \param devtools_file  that the browser program writes its DevTools address to.
  explicit BrowserHand(const std::string& devtools_file);

  /// Waits until a page whose address begins so has loaded.
  /// \return its session, for the other calls.
  std::string Page(const std::string& address);

  /// Runs a script in a page. Its value where that is a text, else empty.
  std::string Evaluate(const std::string& page, const std::string& script);

  /// Types into a field of the page's form.
  void Type(const std::string& page, const std::string& field, const std::string& text);

  /// What the page's window shows, as PNG.
  std::string Screenshot(const std::string& page);

  /// Any command, to the browser itself where no page is given.
  nlohmann::json Call(const std::string& method,
                      const nlohmann::json& params = nlohmann::json::object(),
                      const std::string& page = "");

 private:
  boost::asio::io_context io_;
  boost::beast::websocket::stream<boost::asio::ip::tcp::socket> socket_{io_};
  int last_id_ = 0;
};

}  // namespace tests

#endif  // TESTS_SUPPORT_BROWSER_HAND_H_
