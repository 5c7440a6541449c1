#ifndef DEVSHOP_HTTP_MESSAGE_H_
#define DEVSHOP_HTTP_MESSAGE_H_

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "url_encoding.h"

namespace devshop {

/// A complete request.
struct Request {
  int connection = 0;  ///< number of the connection, counted over all ports from 1
  std::string method;
  std::string path;  ///< decoded
  Fields query;
  Fields form;     ///< empty unless the body is a URL-encoded form
  Fields headers;  ///< in the order sent
  std::string body;

  /// The value of the first header of that name, compared without case; else an empty string.
  std::string GetHeader(std::string_view name) const;
};

/// What goes wrong with a response while it is sent. Sizes count bytes of its body.
struct ResponseFault {
  enum class Kind {
    kNone,
    kTruncate,  ///< closes the connection after `after_bytes`
    kReset,     ///< resets the connection after `after_bytes`
    kSlow,      ///< sends a byte each `delay_ms` after `after_bytes`
  };
  Kind kind = Kind::kNone;
  std::optional<std::size_t> after_bytes;  ///< empty: before the first byte of the head
  int delay_ms = 0;
  std::function<void()> on_delivered;  ///< called once, when the fault takes effect
};

/// A response. Its body is a string or is read in pieces while it is sent.
struct Response {
  using Reader = std::function<bool(std::size_t offset, std::size_t size, std::string* bytes)>;

  int status = 200;
  Fields headers;
  std::size_t size_bytes = 0;
  Reader read;           ///< false: the rest cannot be read
  bool chunked = false;  ///< sent without a length
  ResponseFault fault;
  int delay_ms = 0;                            ///< how long the server waits before `after_delay`
  std::function<void(Response&)> after_delay;  ///< completes the response; unset: it is complete
  std::function<void(int status)> on_send;     ///< called before the first byte is sent

  void SetHeader(const std::string& name, const std::string& value);
  void SetContent(std::string body, const std::string& type);
  /// Sets the status, and one sentence as plain text.
  void SetError(int error_status, const std::string& sentence);
};

}  // namespace devshop

#endif  // DEVSHOP_HTTP_MESSAGE_H_
