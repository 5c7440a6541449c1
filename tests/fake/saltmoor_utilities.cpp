#include <chrono>
#include <thread>

#include "fake_device.h"
#include "saltmoor/utilities/book_store_auth_configs.h"
#include "saltmoor/utilities/browser_authorization.h"
#include "saltmoor/utilities/http_request.h"
#include "saltmoor/utilities/http_request_runner.h"
#include "saltmoor/utilities/signature.h"
#include "saltmoor/utilities/tev_utilities.h"

namespace saltmoor::utilities {

using fake::device;

namespace {

const std::string kStoreApi = "https://" QUIRE_SHOP_HOST "/webapp/wcs/stores/servlet";

std::string Joined(const HttpRequest::Parameters& parameters) {
  std::string text;
  for (const auto& [key, value] : parameters) {
    text += (text.empty() ? "" : "&") + key + "=" + value;
  }
  return text;
}

}  // namespace

int HttpRequestRunner::PerformRequest(const HttpRequest& request, long* status,
                                      std::vector<char>* body, unsigned timeout_s) {
  std::string path = request.GetUrl();
  if (path.starts_with(kStoreApi)) path.erase(0, kStoreApi.size());
  std::string line = request.GetMethod() + " " + path;
  if (!request.GetGetParams().empty()) line += "?" + Joined(request.GetGetParams());
  if (!request.GetPostParams().empty()) line += " " + Joined(request.GetPostParams());
  device.Record(line);
  if (!request.GetFollowRedirects()) device.RecordMisuse(line + ": follows no redirects");
  if (timeout_s != 30) device.RecordMisuse(line + ": time-out " + std::to_string(timeout_s));
  if (*status != 0 || !body->empty()) device.RecordMisuse(line + ": status or body not empty");

  if (device.on_request) device.on_request(path);
  const fake::Device::Response response = device.NextResponse(path);
  *status = response.status;
  body->assign(response.body.begin(), response.body.end());
  return response.error;
}

std::string Signature::GenerateNonce() {
  return "NONCE";
}

std::string Signature::CreateSignature(const HttpRequest& request, const std::string& salt,
                                       const std::string& key) {
  device.Record("sign " + Joined(request.GetGetParams()) + " salt=" + salt + " key=" + key);
  return "SIGNATURE";
}

void TevUtilities::SetSha0Data(const char* data) {
  device.Record(std::string("key ") + data);
}

const char* TevUtilities::SHA0BadCrypt() {
  return device.signing_key;
}

void BookStoreAuthConfigs::logOut() {
  device.Record("forget authorisation");
}

void BrowserAuthorization::IEventHandler::BrowserError() {}
void BrowserAuthorization::IEventHandler::TimePassed(int /*seconds*/) {}
BrowserAuthorization::IEventHandler::~IEventHandler() = default;

BrowserAuthorization::BrowserAuthorization(const std::string& name, IEventHandler* handler)
    : name_(name), handler_(handler) {
  device.Record("browser session " + name);
}

int BrowserAuthorization::Start(const std::string& url, const std::vector<std::string>& args) {
  std::string line = "browser run " + browser_path_;
  for (const std::string& arg : args) line += " " + arg;
  device.Record(line + " " + url);
  const auto running = [this](std::optional<bool> value = {}) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return running_ = value.value_or(running_);
  };
  running(true);
  std::thread([&] {
    for (const std::string& visit : device.browser.visits) {
      if (running()) handler_->UrlChanged(visit);
    }
    for (int waited_ms = 0; device.browser.stays_open && running() && waited_ms < 5000;
         ++waited_ms) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    if (running()) device.browser.fails ? handler_->BrowserError() : handler_->BrowserClosed();
  }).join();
  running(false);
  return device.browser.result;
}

void BrowserAuthorization::SetFocus() {
  device.Record("browser focus");
}

}  // namespace saltmoor::utilities
