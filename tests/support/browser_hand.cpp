#include "support/browser_hand.h"

#include <openssl/evp.h>

#include <algorithm>
#include <boost/asio/connect.hpp>
#include <boost/beast/core.hpp>
#include <chrono>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace tests {
namespace {

using nlohmann::json;

constexpr int kTries = 1000;

void Pause() {
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

std::string FromBase64(const std::string& text) {
  std::string bytes(text.size(), '\0');
  const int size = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                                   reinterpret_cast<const unsigned char*>(text.data()),
                                   static_cast<int>(text.size()));
  // It counts the padding as bytes.
  bytes.resize(static_cast<std::size_t>(
      std::max<std::ptrdiff_t>(0, size - std::count(text.begin(), text.end(), '='))));
  return bytes;
}

}  // namespace

BrowserHand::BrowserHand(const std::string& devtools_file) {
  std::string address;  // ws://HOST:PORT/PATH
  for (int i = 0; i < kTries; ++i) {
    std::ifstream file(devtools_file);
    if (std::getline(file, address)) break;
    Pause();
  }
  if (address.empty()) throw std::runtime_error("the browser does not start");
  const std::size_t port = address.find(':', 5) + 1;
  const std::size_t path = address.find('/', port);
  boost::asio::ip::tcp::resolver resolver(io_);
  boost::asio::connect(socket_.next_layer(),
                       resolver.resolve("127.0.0.1", address.substr(port, path - port)));
  socket_.handshake("127.0.0.1", address.substr(path));
}

std::string BrowserHand::Page(const std::string& address) {
  for (int i = 0; i < kTries; ++i) {
    const json targets = Call("Target.getTargets");
    for (const json& target : targets["targetInfos"]) {
      if (target["url"].get<std::string>().rfind(address, 0) != 0) continue;
      const json attached =
          Call("Target.attachToTarget", {{"targetId", target["targetId"]}, {"flatten", true}});
      const std::string page = attached["sessionId"];
      if (Evaluate(page, "document.readyState") == "complete") return page;
    }
    Pause();
  }
  throw std::runtime_error("the page " + address + " does not come");
}

std::string BrowserHand::Evaluate(const std::string& page, const std::string& script) {
  const json result = Call("Runtime.evaluate", {{"expression", script}}, page)["result"];
  return result.value("type", "") == "string" ? result["value"].get<std::string>() : "";
}

void BrowserHand::Type(const std::string& page, const std::string& field, const std::string& text) {
  Evaluate(page, "document.querySelector('[name=" + field + "]').focus()");
  Call("Input.insertText", {{"text", text}}, page);
}

std::string BrowserHand::Screenshot(const std::string& page) {
  return FromBase64(Call("Page.captureScreenshot", {{"format", "png"}}, page).value("data", ""));
}

json BrowserHand::Call(const std::string& method, const json& params, const std::string& page) {
  json message = {{"id", ++last_id_}, {"method", method}, {"params", params}};
  if (!page.empty()) message["sessionId"] = page;
  socket_.write(boost::asio::buffer(message.dump()));
  for (;;) {
    boost::beast::flat_buffer buffer;
    socket_.read(buffer);
    const json answer = json::parse(boost::beast::buffers_to_string(buffer.data()));
    if (answer.value("id", 0) == last_id_) return answer.value("result", json::object());
  }
}

}  // namespace tests
