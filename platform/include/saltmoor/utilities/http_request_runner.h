#ifndef SALTMOOR_UTILITIES_HTTP_REQUEST_RUNNER_H_
#define SALTMOOR_UTILITIES_HTTP_REQUEST_RUNNER_H_

#include <vector>

#include "saltmoor/utilities/http_request.h"

namespace saltmoor::utilities {

/// Performs requests. A runner holds nothing between two of them, and any thread may use one.
class HttpRequestRunner {
 public:
  /// Sends `request` and waits for the answer.
  ///
  /// The server's certificate is always verified. A POST is sent once: a connection that dies
  /// before the answer makes the call fail, since the server may have acted on it. Redirects, where
  /// the request wants them followed, are at most ten and never lead from https to http. An answer
  /// of more than 64 MiB, unpacked, is refused.
  ///
  /// \param status  receives the HTTP status of the last answer; 0 when none came. May be null.
  /// \param body  receives the answer's bytes, unpacked; replaced, not appended to. May be null.
  /// \param timeout_s  seconds for the whole of it, name look-up and connecting included.
  /// \return 0 when an answer came, whatever its status; otherwise the transport's error, a number
  ///     above 0 that only the log explains. Then `body` is empty.
  int PerformRequest(const HttpRequest& request, long* status, std::vector<char>* body,
                     unsigned timeout_s);
};

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_HTTP_REQUEST_RUNNER_H_
