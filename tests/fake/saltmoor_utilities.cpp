#include <chrono>
#include <thread>

#include "fake_device.h"
#include "saltmoor/utilities/book_store_auth_configs.h"
#include "saltmoor/utilities/browser_authorization.h"
#include "saltmoor/utilities/http_request.h"
#include "saltmoor/utilities/http_request_runner.h"
#include "saltmoor/utilities/serialization_utils.h"
#include "saltmoor/utilities/signature.h"
#include "saltmoor/utilities/tev_utilities.h"
#include "saltmoor/utilities/to_lower.h"
#include "saltmoor/utilities/url.h"

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
  device.Note(line);
  if (!request.GetFollowRedirects()) device.NoteMisuse(line + ": follows no redirects");
  if (timeout_s != 30) device.NoteMisuse(line + ": time-out " + std::to_string(timeout_s));
  if (*status != 0 || !body->empty()) device.NoteMisuse(line + ": status or body not empty");

  const fake::Device::Reply reply = device.TakeReply(path);
  *status = reply.status;
  body->assign(reply.body.begin(), reply.body.end());
  return reply.error;
}

std::string Signature::GenerateNonce() {
  return "NONCE";
}

std::string Signature::CreateSignature(const HttpRequest& request, const std::string& salt,
                                       const std::string& key) {
  device.Note("sign " + Joined(request.GetGetParams()) + " salt=" + salt + " key=" + key);
  return "SIGNATURE";
}

void TevUtilities::SetSha0Data(const char* data) {
  device.Note(std::string("key ") + data);
}

const char* TevUtilities::SHA0BadCrypt() {
  return device.signing_key;
}

std::string SerializationUtils::trim(const std::string& text) {
  const char* blanks = " \t\n\v\f\r";
  const std::size_t begin = text.find_first_not_of(blanks);
  if (begin == std::string::npos) return "";
  return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

void BookStoreAuthConfigs::logOut() {
  device.Note("forget authorisation");
}

std::string ToLower(const std::string& text) {
  std::string lower = text;
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

Url::Url(const std::string& address) {
  const std::string without_fragment = address.substr(0, address.find('#'));
  const std::size_t mark = without_fragment.find('?');
  if (mark != std::string::npos) query_ = without_fragment.substr(mark + 1);
}

std::string Url::GetQuery() const {
  return query_;
}

std::map<std::string, std::string> Url::ParseQuery(const std::string& query) {
  std::map<std::string, std::string> fields;
  for (std::size_t begin = 0; begin < query.size();) {
    const std::size_t end = std::min(query.find('&', begin), query.size());
    const std::string field = query.substr(begin, end - begin);
    const std::size_t sign = std::min(field.find('='), field.size());
    fields.emplace(field.substr(0, sign), sign < field.size() ? field.substr(sign + 1) : "");
    begin = end + 1;
  }
  return fields;
}

void BrowserAuthorization::IEventHandler::BrowserError() {}
void BrowserAuthorization::IEventHandler::TimePassed(int /*seconds*/) {}
BrowserAuthorization::IEventHandler::~IEventHandler() = default;

BrowserAuthorization::BrowserAuthorization(const std::string& name, IEventHandler* handler)
    : name_(name), handler_(handler) {
  device.Note("browser session " + name);
}

int BrowserAuthorization::Start(const std::string& url, const std::vector<std::string>& args) {
  std::string line = "browser run " + browser_path_;
  for (const std::string& arg : args) line += " " + arg;
  device.Note(line + " " + url);
  const auto set_running = [this](bool running) {
    const std::lock_guard<std::mutex> lock(mutex_);
    running_ = running;
  };
  const auto running = [this] {
    const std::lock_guard<std::mutex> lock(mutex_);
    return running_;
  };
  set_running(true);
  std::thread([&] {
    for (const std::string& visit : device.browser.visits) {
      if (running()) handler_->UrlChanged(visit);
    }
    for (int waited_ms = 0; device.browser.stays_open && running() && waited_ms < 5000;
         ++waited_ms) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    if (running()) handler_->BrowserClosed();
  }).join();
  set_running(false);
  return device.browser.result;
}

void BrowserAuthorization::SetFocus() {
  device.Note("browser focus");
}

}  // namespace saltmoor::utilities
