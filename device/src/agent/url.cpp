#include "url.h"

#include <curl/curl.h>

#include <algorithm>
#include <memory>

namespace agent {
namespace {

struct Free {
  void operator()(CURLU* parser) const { curl_url_cleanup(parser); }
  void operator()(char* text) const { curl_free(text); }
};

}  // namespace

std::optional<Url> Url::Parse(const std::string& text) {
  return Normalize(text, "");
}

std::optional<Url> Url::Resolve(const std::string& reference) const {
  return Normalize(text_, reference);
}

std::optional<Url> Url::Normalize(const std::string& base, const std::string& reference) {
  const std::unique_ptr<CURLU, Free> parser(curl_url());
  for (const std::string& part : {base, reference}) {
    if (part.empty()) continue;
    if (curl_url_set(parser.get(), CURLUPART_URL, part.c_str(), CURLU_URLENCODE) != CURLUE_OK) {
      return {};
    }
  }
  char* text = nullptr;
  if (curl_url_get(parser.get(), CURLUPART_URL, &text, CURLU_PUNYCODE) != CURLUE_OK) return {};
  const std::unique_ptr<char, Free> owned(text);
  Url url;
  url.text_ = text;
  // An encoded host name is decoded, and may hold any character.
  const bool printable =
      std::all_of(url.text_.begin(), url.text_.end(), [](char c) { return c > ' ' && c < 0x7F; });
  if (!printable || !(url.is_encrypted() || url.text_.starts_with("http:"))) return {};
  return url;
}

}  // namespace agent
