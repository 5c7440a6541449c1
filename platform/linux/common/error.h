/// \file
/// How a piece of the Linux platform tells another that something failed.

#ifndef PLATFORM_LINUX_COMMON_ERROR_H_
#define PLATFORM_LINUX_COMMON_ERROR_H_

#include <string>
#include <utility>

namespace saltmoor::platform {

/// The outcome of an operation: false when it went well. The text names what failed and where; at
/// the contract's edge it becomes the caller's int and one line of the log.
class [[nodiscard]] Error {
 public:
  enum class Kind {
    kNone,
    kSystem,       ///< a system call failed: code is its errno
    kTransfer,     ///< libcurl failed: code is its CURLcode
    kInvalidData,  ///< what was read is not what it should be: code is 0
  };

  Error() = default;

  /// \param what  what was attempted on what, such as "cannot write /tmp/a"; the meaning of
  ///     `error_number` is appended.
  static Error System(int error_number, const std::string& what);
  /// \param message  complete: this header knows no libcurl.
  static Error Transfer(int curl_code, std::string message) {
    return {Kind::kTransfer, curl_code, std::move(message)};
  }
  static Error InvalidData(std::string message) {
    return {Kind::kInvalidData, 0, std::move(message)};
  }

  explicit operator bool() const { return kind_ != Kind::kNone; }
  Kind kind() const { return kind_; }
  int code() const { return code_; }
  const std::string& message() const { return message_; }

  bool IsSystem(int error_number) const { return kind_ == Kind::kSystem && code_ == error_number; }

 private:
  Error(Kind kind, int code, std::string message)
      : kind_(kind), code_(code), message_(std::move(message)) {}

  Kind kind_ = Kind::kNone;
  int code_ = 0;
  std::string message_;
};

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_COMMON_ERROR_H_
