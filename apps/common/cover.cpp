#include "cover.h"

#include <vector>

#include "saltmoor/utilities/http_request_runner.h"

namespace app {
namespace {

using saltmoor::quire::Failure;

constexpr unsigned kTimeout_s = 30;
constexpr std::size_t kMaxCover_bytes = std::size_t{8} << 20;

}  // namespace

std::string FetchCover(const std::string& url, Failure* failure) {
  saltmoor::utilities::HttpRequest request("GET", url);
  request.SetFollowRedirects(true);
  long status = 0;
  std::vector<char> body;
  const int error =
      saltmoor::utilities::HttpRequestRunner().PerformRequest(request, &status, &body, kTimeout_s);
  *failure = {};
  if (error != 0) {
    *failure = {Failure::kNetwork, error, 0, {}};
  } else if (status != 200) {
    *failure = {Failure::kHttpStatus, 0, static_cast<int>(status), {}};
  } else if (body.empty() || body.size() > kMaxCover_bytes) {
    *failure = {Failure::kUnreadableResponse, 0, 0, {}};
  }
  if (*failure) return {};
  return {body.begin(), body.end()};
}

}  // namespace app
