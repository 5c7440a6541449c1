#include "http_client.h"

#include <strings.h>

#include <array>
#include <cstdlib>
#include <sstream>

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

std::string CharsetOf(const char* content_type) {
  const std::string type = content_type ? content_type : "";
  const auto begin = type.find("charset=");
  if (begin == std::string::npos) return {};
  const std::string charset = type.substr(begin + 8, type.find(';', begin) - begin - 8);
  return charset.size() > 2 && charset.front() == '"' ? charset.substr(1, charset.size() - 2)
                                                      : charset;
}

}  // namespace

HttpClient::HttpClient() : curl_(curl_easy_init()) {
  if (!curl_) throw VisitError("the HTTP library does not start");
  CURL* curl = curl_.get();
  curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(curl, CURLOPT_PROXY,
                   "");  // as the platform: none, whatever the environment says
  curl_easy_setopt(curl, CURLOPT_COOKIEFILE, "");  // cookies, kept in memory
  curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, kConnectTimeout_s);
  curl_easy_setopt(curl, CURLOPT_TIMEOUT, kTimeout_s);
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl, CURLOPT_ACCEPT_ENCODING, "");
  curl_easy_setopt(curl, CURLOPT_USERAGENT, "quire-browser-agent");
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, Append);
  if (const char* file = std::getenv("TABULET_CA_FILE"); file && *file) {
    curl_easy_setopt(curl, CURLOPT_CAINFO, file);
    curl_easy_setopt(curl, CURLOPT_CAPATH, nullptr);
  }
  const char* connect_to = std::getenv("TABULET_CONNECT_TO");
  std::istringstream entries(connect_to ? connect_to : "");
  for (std::string entry; std::getline(entries, entry, ',');) {
    connect_to_.reset(curl_slist_append(connect_to_.release(), entry.c_str()));
  }
  curl_easy_setopt(curl, CURLOPT_CONNECT_TO, connect_to_.get());
}

Answer HttpClient::Perform(const Visit& visit) {
  CURL* curl = curl_.get();
  Answer answer;
  std::array<char, CURL_ERROR_SIZE> reason = {};
  curl_easy_setopt(curl, CURLOPT_URL, visit.address.c_str());
  if (visit.post) {
    curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(visit.body.size()));
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, visit.body.c_str());
  } else {
    curl_easy_setopt(curl, CURLOPT_HTTPGET, 1L);
  }
  // A connection that died while it waited would have libcurl send the form a second time.
  curl_easy_setopt(curl, CURLOPT_FRESH_CONNECT, visit.post ? 1L : 0L);
  curl_easy_setopt(curl, CURLOPT_WRITEDATA, &answer.body);
  curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, reason.data());
  const CURLcode code = curl_easy_perform(curl);
  curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, nullptr);
  if (code != CURLE_OK) {
    throw VisitError("cannot load " + visit.address + ": " +
                     (reason[0] ? reason.data() : curl_easy_strerror(code)));
  }
  const char* location = nullptr;
  const char* content_type = nullptr;
  curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &answer.status);
  curl_easy_getinfo(curl, CURLINFO_REDIRECT_URL, &location);
  curl_easy_getinfo(curl, CURLINFO_CONTENT_TYPE, &content_type);
  answer.charset = CharsetOf(content_type);
  if (location) answer.location = Resolve(visit.address, location);
  if (location && answer.location.empty()) {
    throw VisitError(visit.address + " leads to " + location + ", which is no web address");
  }
  return answer;
}

Visit HttpClient::Submit(const std::string& page_address, const Form& form, const Button& button) {
  Visit visit;
  visit.address = form.action.empty() ? page_address : Resolve(page_address, form.action);
  visit.post = form.post;
  visit.body = Encode(Fill(form, button));
  if (visit.address.empty()) {
    throw VisitError("the page's form goes to " + form.action + ", which is no web address");
  }
  if (page_address.starts_with("https:") && !visit.address.starts_with("https:")) {
    throw VisitError("the page's form would go to " + visit.address + " in the clear");
  }
  if (!form.post) {
    visit.address = visit.address.substr(0, visit.address.find_first_of("?#")) + "?" + visit.body;
    visit.body.clear();
  }
  return visit;
}

std::string HttpClient::Encode(const FormData& data) {
  std::string text;
  const auto append = [&](const std::string& part) {
    if (part.empty()) return;  // libcurl would measure it by its closing zero byte
    char* escaped = curl_easy_escape(curl_.get(), part.data(), static_cast<int>(part.size()));
    if (!escaped) throw std::bad_alloc();
    text += escaped;
    curl_free(escaped);
  };
  for (const auto& [name, value] : data) {
    if (!text.empty()) text += '&';
    append(name);
    text += '=';
    append(value);
  }
  return text;
}

std::string Resolve(const std::string& base, const std::string& reference) {
  CURLU* url = curl_url();
  char* text = nullptr;
  const bool good = url && curl_url_set(url, CURLUPART_URL, base.c_str(), 0) == CURLUE_OK &&
                    curl_url_set(url, CURLUPART_URL, reference.c_str(), 0) == CURLUE_OK &&
                    curl_url_get(url, CURLUPART_URL, &text, 0) == CURLUE_OK;
  std::string address = good ? text : "";
  curl_free(text);
  curl_url_cleanup(url);
  const bool web = strncasecmp(address.c_str(), "http://", 7) == 0 ||
                   strncasecmp(address.c_str(), "https://", 8) == 0;
  return web ? address : "";
}

}  // namespace agent
