#include "url.h"

#include <curl/curl.h>

#include <memory>

#include "text.h"

namespace app {
namespace {

using UrlHandle = std::unique_ptr<CURLU, decltype(&curl_url_cleanup)>;

bool Set(const UrlHandle& handle, const std::string& text) {
  return curl_url_set(handle.get(), CURLUPART_URL, text.c_str(), CURLU_URLENCODE) == CURLUE_OK;
}

std::string Get(const UrlHandle& handle, CURLUPart part, unsigned flags = 0) {
  char* text = nullptr;
  if (curl_url_get(handle.get(), part, &text, flags) != CURLUE_OK) return {};
  std::string out = text;
  curl_free(text);
  return out;
}

std::string Origin(const std::string& text) {
  const UrlHandle handle(curl_url(), &curl_url_cleanup);
  if (!Set(handle, text)) return {};
  return Get(handle, CURLUPART_SCHEME) + " " + FoldCase(Get(handle, CURLUPART_HOST)) + " " +
         Get(handle, CURLUPART_PORT, CURLU_DEFAULT_PORT);
}

}  // namespace

std::string ResolveUrl(const std::string& base, const std::string& reference) {
  const UrlHandle handle(curl_url(), &curl_url_cleanup);
  if (!base.empty() && !Set(handle, base)) return {};
  if (!Set(handle, reference)) return {};
  const std::string scheme = Get(handle, CURLUPART_SCHEME);
  if (scheme != "http" && scheme != "https") return {};
  curl_url_set(handle.get(), CURLUPART_FRAGMENT, nullptr, 0);
  return Get(handle, CURLUPART_URL);
}

std::string PercentEncode(const std::string& text) {
  if (text.empty()) return {};  // for libcurl a length of 0 means strlen
  const std::unique_ptr<char, decltype(&curl_free)> encoded(
      curl_easy_escape(nullptr, text.data(), static_cast<int>(text.size())), &curl_free);
  return encoded ? encoded.get() : "";
}

bool IsSameOrigin(const std::string& one, const std::string& other) {
  const std::string origin = Origin(one);
  return !origin.empty() && origin == Origin(other);
}

}  // namespace app
