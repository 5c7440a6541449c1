#ifndef SALTMOOR_UTILITIES_HTTP_REQUEST_RUNNER_H_
#define SALTMOOR_UTILITIES_HTTP_REQUEST_RUNNER_H_

#include <map>
#include <string>
#include <vector>

#include "saltmoor/utilities/http_request.h"

namespace saltmoor::utilities {

/// Performs HTTP requests. A runner holds no state between two requests. Thread-safe.
class HttpRequestRunner {
 public:
  /// Why a request got no response. The Linux platform returns no other numbers; another
  /// implementation may, and a caller handles a number that it does not know as kOther.
  enum Error : int {
    kOther = 2,                   ///< none of the below, such as no memory; the log has the reason
    kInvalidRequest = 3,          ///< not an http or https URL, or not a GET or POST
    kNameNotFound = 6,            ///< the server's name has no address, or no name server answers
    kConnectionRefused = 7,       ///< no connection: no program listens, or there is no network
    kInvalidAnswer = 8,           ///< the response is not HTTP, or its encoding is damaged
    kAnswerTooLarge = 23,         ///< more than 64 MiB
    kTimedOut = 28,               ///< no complete response within the time limit
    kTlsFailed = 35,              ///< the TLS handshake failed, but not because of a certificate
    kRedirectRefused = 47,        ///< more than ten redirects, from https to http, or see below
    kConnectionLost = 56,         ///< the connection ended before the end of the response
    kCertificateNotTrusted = 60,  ///< expired, for another host, or of an unknown authority
  };

  /// Sends `request` and waits for the response.
  ///
  /// The server's certificate is always verified. A POST is sent once: a connection that ends
  /// before the response makes the call fail, because the server may have acted on it. Redirects
  /// are followed only if the request asks for it: at most ten, never from https to http, and with
  /// a form never to another host, because it may carry a password or a session. A response larger
  /// than 64 MiB, decompressed, is refused.
  ///
  /// \param status  receives the HTTP status of the last response; 0 on failure. May be null.
  /// \param body  receives the response's bytes, decompressed; its old content is replaced. Empty
  ///     on failure. May be null.
  /// \param timeout_s  limit for the whole call, name resolution and connecting included.
  /// \return 0 if a response arrived, whatever its status; otherwise an Error, above 0. The reason
  ///     is logged. Throws nothing.
  int PerformRequest(const HttpRequest& request, long* status, std::vector<char>* body,
                     unsigned timeout_s);

  /// A response of any status.
  struct Response {
    long status = 0;         ///< the HTTP status; 0 on failure
    std::vector<char> body;  ///< decompressed
    std::string url;         ///< that answered: after redirects another than the request's
    /// Names are in lower case; values of the same name are joined with ", ".
    std::map<std::string, std::string> headers;
  };

  /// PerformRequest for callers that need more of the response than its status and body.
  /// \param response  receives the last response; empty on failure. Must not be null.
  int PerformRequest(const HttpRequest& request, Response* response, unsigned timeout_s);
};

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_HTTP_REQUEST_RUNNER_H_
