#include "saltmoor/utilities/http_request_runner.h"

#include <algorithm>
#include <limits>
#include <new>
#include <string>
#include <string_view>

#include "platform/linux/common/log.h"
#include "platform/linux/common/transfer.h"

namespace saltmoor::utilities {
namespace {

using platform::EncodeFields;
using platform::Error;
using platform::Transfer;

constexpr std::size_t kMaxBody_bytes = std::size_t{64} << 20;

struct Body {
  std::vector<char> bytes;
  bool too_large = false;
};

/// Called by libcurl with the next bytes of the body, decompressed.
std::size_t OnBody(char* bytes, std::size_t, std::size_t size, void* target) {
  Body& body = *static_cast<Body*>(target);
  body.too_large = size > kMaxBody_bytes - body.bytes.size();
  if (body.too_large) return 0;
  return platform::CatchAtBoundary(std::size_t{0}, [&] {
    body.bytes.insert(body.bytes.end(), bytes, bytes + size);
    return size;
  });
}

std::string BuildUrl(const HttpRequest& request) {
  std::string url = request.GetUrl().substr(0, request.GetUrl().find('#'));
  const std::string query = EncodeFields(request.GetGetParams());
  if (query.empty()) return url;
  return url + (url.find('?') == std::string::npos ? '?' : '&') + query;
}

long ToMilliseconds(unsigned timeout_s) {
  // For libcurl 0 means no limit.
  const long max_s = std::numeric_limits<long>::max() / 1000;
  return std::max(1L, static_cast<long>(std::min<unsigned long>(timeout_s, max_s)) * 1000);
}

bool IsValidHeader(const std::string& name, const std::string& value) {
  using namespace std::string_view_literals;
  constexpr auto kBreaks = "\r\n\0"sv;
  return !name.empty() && name.find(':') == std::string::npos &&
         name.find_first_of(kBreaks) == std::string::npos &&
         value.find_first_of(kBreaks) == std::string::npos;
}

Error Perform(const HttpRequest& request, unsigned timeout_s,
              HttpRequestRunner::Response* response) {
  const bool post = request.GetMethod() == "POST";
  if (!post && (request.GetMethod() != "GET" || !request.GetPostParams().empty())) {
    return Error::Transfer(HttpRequestRunner::kInvalidRequest,
                           "a request must be a POST, or a GET without a form");
  }
  Transfer transfer;
  transfer.SetUrl(BuildUrl(request));
  const std::string form = EncodeFields(request.GetPostParams());
  platform::CurlList headers;
  if (post) {
    transfer.Set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(form.size()));
    transfer.Set(CURLOPT_POSTFIELDS, form.c_str());
    // A server that ignores libcurl's "Expect: 100-continue" would delay a large form.
    if (!headers.Append("Expect:")) throw std::bad_alloc();
    transfer.DisableResend();
    // Every form of the store has the password or the session.
    if (!form.empty()) transfer.StayOnHost();
  }
  for (const auto& [name, value] : request.GetHeaders()) {
    if (!IsValidHeader(name, value)) {
      return Error::Transfer(HttpRequestRunner::kInvalidRequest,
                             "a header has no valid name, or a line break");
    }
    if (!headers.Append(name + (value.empty() ? ";" : ": " + value))) throw std::bad_alloc();
  }
  transfer.Set(CURLOPT_HTTPHEADER, headers.get());
  Body body;
  transfer.Set(CURLOPT_FOLLOWLOCATION, request.GetFollowRedirects() ? 1L : 0L);
  transfer.Set(CURLOPT_TIMEOUT_MS, ToMilliseconds(timeout_s));
  transfer.Set(CURLOPT_ACCEPT_ENCODING, "");
  transfer.Set(CURLOPT_WRITEFUNCTION, &OnBody);
  transfer.Set(CURLOPT_WRITEDATA, static_cast<void*>(&body));

  const Error error = transfer.Perform();
  if (!error) {
    *response = {transfer.status(), std::move(body.bytes), transfer.effective_url(),
                 transfer.GetHeaders()};
    return {};
  }
  const std::string what =
      request.GetMethod() + " " + transfer.origin() + transfer.path() + " failed: ";
  if (body.too_large) {
    return Error::Transfer(HttpRequestRunner::kAnswerTooLarge,
                           what + "the response is larger than 64 MiB");
  }
  return Error::Transfer(error.code(), what + error.message());
}

}  // namespace

int HttpRequestRunner::PerformRequest(const HttpRequest& request, long* status,
                                      std::vector<char>* body, unsigned timeout_s) {
  Response response;
  const int error = PerformRequest(request, &response, timeout_s);
  if (status) *status = response.status;
  if (body) *body = std::move(response.body);
  return error;
}

int HttpRequestRunner::PerformRequest(const HttpRequest& request, Response* response,
                                      unsigned timeout_s) {
  *response = {};
  return platform::CatchAtBoundary(static_cast<int>(kOther), [&] {
    const platform::Error error = Perform(request, timeout_s, response);
    if (!error) return 0;
    platform::Log(platform::LogLevel::kError, error.message());
    return error.code();
  });
}

}  // namespace saltmoor::utilities
