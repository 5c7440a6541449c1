// libsaltmoor_utilities.so without a device: every call fails as its header documents. What cannot
// fail returns nothing, or its argument.

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

// Strings.

std::string SerializationUtils::trim(const std::string& text) {
  return text;
}

std::string ToLower(const std::string& text) {
  return text;
}

Url::Url(const std::string& /*url*/) {}

std::string Url::GetQuery() const {
  return query_;
}

std::map<std::string, std::string> Url::ParseQuery(const std::string& /*query*/) {
  return {};
}

// HTTP.

HttpRequest::HttpRequest(const std::string& method, const std::string& url)
    : method_(method), url_(url) {}

void HttpRequest::AddGetParam(const std::string& /*key*/, const std::string& /*value*/) {}

void HttpRequest::AddGetParam(const std::string& /*key*/, int /*value*/) {}

void HttpRequest::AddPostParam(const std::string& /*key*/, const std::string& /*value*/) {}

void HttpRequest::AddPostParam(const std::string& /*key*/, int /*value*/) {}

void HttpRequest::AddHeader(const std::string& /*name*/, const std::string& /*value*/) {}

void HttpRequest::SetFollowRedirects(bool /*on*/) {}

const std::string& HttpRequest::GetMethod() const {
  return method_;
}

const std::string& HttpRequest::GetUrl() const {
  return url_;
}

bool HttpRequest::GetFollowRedirects() const {
  return follow_redirects_;
}

const HttpRequest::Parameters& HttpRequest::GetGetParams() const {
  return get_params_;
}

const HttpRequest::Parameters& HttpRequest::GetPostParams() const {
  return post_params_;
}

const HttpRequest::Parameters& HttpRequest::GetHeaders() const {
  return headers_;
}

int HttpRequestRunner::PerformRequest(const HttpRequest& /*request*/, long* status,
                                      std::vector<char>* body, unsigned /*timeout_s*/) {
  if (status != nullptr) *status = 0;
  if (body != nullptr) body->clear();
  return kOther;
}

int HttpRequestRunner::PerformRequest(const HttpRequest& /*request*/, Response* response,
                                      unsigned /*timeout_s*/) {
  *response = {};
  return kOther;
}

// Signatures.

std::string Signature::GenerateNonce() {
  return "";
}

std::string Signature::CreateSignature(const HttpRequest& /*request*/, const std::string& /*salt*/,
                                       const std::string& /*key*/) {
  return "";
}

void TevUtilities::SetSha0Data(const char* /*data*/) {}

const char* TevUtilities::SHA0BadCrypt() {
  return "";
}

// The device's shops and its browser.

void BookStoreAuthConfigs::logOut() {}

void BrowserAuthorization::IEventHandler::BrowserError() {}

void BrowserAuthorization::IEventHandler::TimePassed(int /*seconds*/) {}

BrowserAuthorization::IEventHandler::~IEventHandler() = default;

struct BrowserAuthorization::Session {};

BrowserAuthorization::BrowserAuthorization(const std::string& name, IEventHandler* handler)
    : name_(name), handler_(handler) {}

int BrowserAuthorization::Start(const std::string& /*url*/,
                                const std::vector<std::string>& /*args*/) {
  return -1;
}

void BrowserAuthorization::SetFocus() {}

}  // namespace saltmoor::utilities
