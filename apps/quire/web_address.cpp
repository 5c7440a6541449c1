#include "web_address.h"

#include <curl/curl.h>

#include <memory>

#include "text.h"

namespace app {
namespace {

using Address = std::unique_ptr<CURLU, decltype(&curl_url_cleanup)>;

bool Set(const Address& address, const std::string& text) {
  return curl_url_set(address.get(), CURLUPART_URL, text.c_str(), CURLU_URLENCODE) == CURLUE_OK;
}

std::string Get(const Address& address, CURLUPart part, unsigned flags = 0) {
  char* text = nullptr;
  if (curl_url_get(address.get(), part, &text, flags) != CURLUE_OK) return {};
  std::string out = text;
  curl_free(text);
  return out;
}

std::string Site(const std::string& text) {
  const Address address(curl_url(), &curl_url_cleanup);
  if (!Set(address, text)) return {};
  return Get(address, CURLUPART_SCHEME) + " " + FoldCase(Get(address, CURLUPART_HOST)) + " " +
         Get(address, CURLUPART_PORT, CURLU_DEFAULT_PORT);
}

}  // namespace

std::string ResolveAddress(const std::string& base, const std::string& reference) {
  const Address address(curl_url(), &curl_url_cleanup);
  if (!base.empty() && !Set(address, base)) return {};
  if (!Set(address, reference)) return {};
  const std::string scheme = Get(address, CURLUPART_SCHEME);
  if (scheme != "http" && scheme != "https") return {};
  curl_url_set(address.get(), CURLUPART_FRAGMENT, nullptr, 0);
  return Get(address, CURLUPART_URL);
}

bool IsSameSite(const std::string& one, const std::string& other) {
  const std::string site = Site(one);
  return !site.empty() && site == Site(other);
}

}  // namespace app
