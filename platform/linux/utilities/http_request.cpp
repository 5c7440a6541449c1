#include "saltmoor/utilities/http_request.h"

namespace saltmoor::utilities {

HttpRequest::HttpRequest(const std::string& method, const std::string& url)
    : method_(method), url_(url) {}

void HttpRequest::AddGetParam(const std::string& key, const std::string& value) {
  get_params_.emplace_back(key, value);
}

void HttpRequest::AddGetParam(const std::string& key, int value) {
  AddGetParam(key, std::to_string(value));
}

void HttpRequest::AddPostParam(const std::string& key, const std::string& value) {
  post_params_.emplace_back(key, value);
}

void HttpRequest::AddPostParam(const std::string& key, int value) {
  AddPostParam(key, std::to_string(value));
}

void HttpRequest::AddHeader(const std::string& name, const std::string& value) {
  headers_.emplace_back(name, value);
}

void HttpRequest::SetFollowRedirects(bool on) {
  follow_redirects_ = on;
}

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

}  // namespace saltmoor::utilities
