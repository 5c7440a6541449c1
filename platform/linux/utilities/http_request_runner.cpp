#include "saltmoor/utilities/http_request_runner.h"

#include <algorithm>
#include <limits>
#include <new>
#include <string>

#include "platform/linux/common/log.h"
#include "platform/linux/common/transfer.h"

namespace saltmoor::utilities {
namespace {

using platform::EncodeFields;
using platform::Error;
using platform::Transfer;

constexpr std::size_t kMaxBody_bytes = std::size_t{64} << 20;

struct Response {
  int status = 0;
  std::vector<char> body;
  bool too_large = false;
};

/// Called by libcurl with the next bytes of the body, decompressed.
std::size_t OnBody(char* bytes, std::size_t, std::size_t size, void* target) {
  Response& response = *static_cast<Response*>(target);
  response.too_large = size > kMaxBody_bytes - response.body.size();
  if (response.too_large) return 0;
  return platform::CatchAtBoundary(std::size_t{0}, [&] {
    response.body.insert(response.body.end(), bytes, bytes + size);
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

Error Perform(const HttpRequest& request, unsigned timeout_s, Response* response) {
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
    transfer.Set(CURLOPT_HTTPHEADER, headers.get());
    transfer.DisableResend();
    // Every form of the store has the password or the session.
    if (!form.empty()) transfer.StayOnHost();
  }
  transfer.Set(CURLOPT_FOLLOWLOCATION, request.GetFollowRedirects() ? 1L : 0L);
  transfer.Set(CURLOPT_TIMEOUT_MS, ToMilliseconds(timeout_s));
  transfer.Set(CURLOPT_ACCEPT_ENCODING, "");
  transfer.Set(CURLOPT_WRITEFUNCTION, &OnBody);
  transfer.Set(CURLOPT_WRITEDATA, static_cast<void*>(response));

  const Error error = transfer.Perform();
  response->status = transfer.status();
  if (!error) return {};
  const std::string what =
      request.GetMethod() + " " + transfer.origin() + transfer.path() + " failed: ";
  if (response->too_large) {
    return Error::Transfer(HttpRequestRunner::kAnswerTooLarge,
                           what + "the response is larger than 64 MiB");
  }
  return Error::Transfer(error.code(), what + error.message());
}

}  // namespace

int HttpRequestRunner::PerformRequest(const HttpRequest& request, long* status,
                                      std::vector<char>* body, unsigned timeout_s) {
  if (status) *status = 0;
  if (body) body->clear();
  return platform::CatchAtBoundary(static_cast<int>(kOther), [&] {
    Response response;
    if (const platform::Error error = Perform(request, timeout_s, &response)) {
      platform::Log(platform::LogLevel::kError, error.message());
      return error.code();
    }
    if (status) *status = response.status;
    if (body) *body = std::move(response.body);
    return 0;
  });
}

}  // namespace saltmoor::utilities
