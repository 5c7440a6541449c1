#include "http_client.h"

#include <array>
#include <sstream>
#include <stdexcept>

#include "../util.h"

namespace agent {
namespace {

constexpr std::size_t kMaxPage_bytes = 4 << 20;
constexpr long kConnectTimeout_s = 10;
constexpr long kTimeout_s = 30;

std::size_t Append(const char* data, std::size_t, std::size_t size, void* body) {
  auto& text = *static_cast<std::string*>(body);
  if (text.size() + size > kMaxPage_bytes) return 0;
  text.append(data, size);
  return size;
}

std::string ParseCharset(const char* content_type) {
  const std::string type = content_type ? content_type : "";
  const auto begin = type.find("charset=");
  if (begin == std::string::npos) return {};
  const std::string charset = type.substr(begin + 8, type.find(';', begin) - begin - 8);
  return charset.size() > 2 && charset.front() == '"' ? charset.substr(1, charset.size() - 2)
                                                      : charset;
}

}  // namespace

HttpClient::HttpClient() : curl_(curl_easy_init()) {
  if (!curl_) throw std::runtime_error("the HTTP library does not start");
  CURL* curl = curl_.get();
  curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(curl, CURLOPT_PROXY, "");       // the platform ignores proxy variables, too
  curl_easy_setopt(curl, CURLOPT_COOKIEFILE, "");  // enables cookies, in memory
  curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, kConnectTimeout_s);
  curl_easy_setopt(curl, CURLOPT_TIMEOUT, kTimeout_s);
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl, CURLOPT_ACCEPT_ENCODING, "");
  curl_easy_setopt(curl, CURLOPT_USERAGENT, "quire-browser-agent");
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, Append);
  if (const std::string file = GetEnvironment("TABULET_CA_FILE"); !file.empty()) {
    curl_easy_setopt(curl, CURLOPT_CAINFO, file.c_str());
    curl_easy_setopt(curl, CURLOPT_CAPATH, nullptr);
  }
  std::istringstream entries(GetEnvironment("TABULET_CONNECT_TO"));
  for (std::string entry; std::getline(entries, entry, ',');) {
    connect_to_.reset(curl_slist_append(connect_to_.release(), entry.c_str()));
  }
  curl_easy_setopt(curl, CURLOPT_CONNECT_TO, connect_to_.get());
}

Response HttpClient::Send(const Request& request) {
  CURL* curl = curl_.get();
  Response response;
  std::array<char, CURL_ERROR_SIZE> error = {};
  curl_easy_setopt(curl, CURLOPT_URL, request.url.text().c_str());
  if (request.post) {
    curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(request.body.size()));
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, request.body.c_str());
  } else {
    curl_easy_setopt(curl, CURLOPT_HTTPGET, 1L);
  }
  // On a kept connection that died, libcurl would send the form a second time.
  curl_easy_setopt(curl, CURLOPT_FRESH_CONNECT, request.post ? 1L : 0L);
  curl_easy_setopt(curl, CURLOPT_WRITEDATA, &response.body);
  curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, error.data());
  const CURLcode code = curl_easy_perform(curl);
  curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, nullptr);
  if (code == CURLE_WRITE_ERROR) {
    throw std::runtime_error(request.url.text() + " answers with more than a page");
  }
  if (code != CURLE_OK) {
    throw std::runtime_error("cannot load " + request.url.text() + ": " +
                             (error[0] ? error.data() : curl_easy_strerror(code)));
  }
  const char* location = nullptr;
  const char* content_type = nullptr;
  curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &response.status);
  curl_easy_getinfo(curl, CURLINFO_REDIRECT_URL, &location);
  curl_easy_getinfo(curl, CURLINFO_CONTENT_TYPE, &content_type);
  response.charset = ParseCharset(content_type);
  if (location) response.location = request.url.Resolve(location);
  if (location && !response.location) {
    throw std::runtime_error(request.url.text() + " leads to " + location +
                             ", which is not a web address");
  }
  return response;
}

Request HttpClient::BuildSubmission(const Url& page_url, const Form& form, const Button& button) {
  const std::string fields = EncodeForm(form, button);
  std::optional<Url> url = page_url.Resolve(form.action);
  if (url && !form.post) url = url->Resolve("?" + fields);
  if (!url) {
    throw std::runtime_error("the page's form goes to " + form.action +
                             ", which is not a web address");
  }
  if (page_url.is_encrypted() && !url->is_encrypted()) {
    throw std::runtime_error("the page's form would go to " + url->text() + " unencrypted");
  }
  return {*url, form.post, form.post ? fields : ""};
}

std::string HttpClient::EncodeForm(const Form& form, const Button& button) {
  std::string encoded;
  const auto append = [&](const std::string& part) {
    char* escaped = curl_easy_escape(curl_.get(), part.c_str(), 0);
    if (!escaped) throw std::bad_alloc();
    encoded += escaped;
    curl_free(escaped);
  };
  const auto append_pair = [&](const std::string& name, const std::string& value) {
    if (!encoded.empty()) encoded += '&';
    append(name);
    encoded += '=';
    append(value);
  };
  for (const Field& field : form.fields) append_pair(field.name, field.value);
  if (!button.name.empty()) append_pair(button.name, button.value);
  return encoded;
}

}  // namespace agent
