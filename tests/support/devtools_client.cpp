#include "support/devtools_client.h"

#include <boost/asio/connect.hpp>
#include <boost/beast/core.hpp>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "support/process.h"

namespace tests {
namespace {

using nlohmann::json;

constexpr int kMaxPolls = 1000;

void WaitForNextPoll() {
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

}  // namespace

testing::AssertionResult IsChromiumInstalled() {
  for (const char* program : {"chromium", "certutil"}) {
    if (RunProgram({"sh", "-c", std::string("command -v ") + program}).exit_code == 0) continue;
    return testing::AssertionFailure()
           << program << " is not installed; apt-get install chromium libnss3-tools";
  }
  return testing::AssertionSuccess();
}

DevtoolsClient::DevtoolsClient(const std::string& temp_directory) {
  std::string port;
  std::string path;
  for (int i = 0; path.empty(); ++i) {
    if (i == kMaxPolls) throw std::runtime_error("the browser does not start");
    WaitForNextPoll();
    for (const auto& entry : std::filesystem::directory_iterator(temp_directory)) {
      if (!entry.path().filename().string().starts_with("quire-chromium.")) continue;
      std::ifstream file(entry.path() / "DevToolsActivePort");
      std::getline(std::getline(file, port), path);
    }
  }
  boost::asio::ip::tcp::resolver resolver(io_);
  boost::asio::connect(socket_.next_layer(), resolver.resolve("127.0.0.1", port));
  socket_.handshake("127.0.0.1", path);
}

std::string DevtoolsClient::WaitForPage(const std::string& url_prefix) {
  for (int i = 0; i < kMaxPolls; ++i) {
    const json targets = Call("Target.getTargets");
    for (const json& target : targets["targetInfos"]) {
      if (target["url"].get<std::string>().rfind(url_prefix, 0) != 0) continue;
      const json attached =
          Call("Target.attachToTarget", {{"targetId", target["targetId"]}, {"flatten", true}});
      const std::string page = attached["sessionId"];
      if (Evaluate(page, "document.readyState") == "complete") return page;
    }
    WaitForNextPoll();
  }
  throw std::runtime_error("the page " + url_prefix + " does not load");
}

std::string DevtoolsClient::Evaluate(const std::string& page, const std::string& script) {
  const json result = Call("Runtime.evaluate", {{"expression", script}}, page)["result"];
  return result.value("type", "") == "string" ? result["value"].get<std::string>() : "";
}

void DevtoolsClient::Type(const std::string& page, const std::string& field,
                          const std::string& text) {
  Evaluate(page, "document.querySelector('[name=" + field + "]').focus()");
  Call("Input.insertText", {{"text", text}}, page);
}

json DevtoolsClient::Call(const std::string& method, const json& params, const std::string& page) {
  json message = {{"id", ++last_id_}, {"method", method}, {"params", params}};
  if (!page.empty()) message["sessionId"] = page;
  socket_.write(boost::asio::buffer(message.dump()));
  for (;;) {
    boost::beast::flat_buffer buffer;
    socket_.read(buffer);
    const json response = json::parse(boost::beast::buffers_to_string(buffer.data()));
    if (response.value("id", 0) == last_id_) return response.value("result", json::object());
  }
}

}  // namespace tests
