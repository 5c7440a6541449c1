#ifndef PLATFORM_LINUX_COMMON_ERROR_H_
#define PLATFORM_LINUX_COMMON_ERROR_H_

#include <string>
#include <system_error>
#include <utility>

namespace saltmoor::platform {

/// The result of an operation of the Linux platform: converts to false on success. The message says
/// what failed on what. A function of the contract returns it as an int and logs the message once.
class [[nodiscard]] Error {
 public:
  enum class Kind {
    kNone,
    kSystem,       ///< a system call failed; the code is its errno
    kTransfer,     ///< a transfer failed; the code is a CURLcode or an HttpRequestRunner::Error
    kInvalidData,  ///< data is not what it should be; the code is 0
  };

  Error() = default;

  /// \param what  what was attempted, such as "cannot write /tmp/a"; the description of
  ///     `error_number` is appended.
  static Error System(int error_number, const std::string& what) {
    return {Kind::kSystem, error_number,
            what + ": " + std::generic_category().message(error_number)};
  }
  static Error Transfer(int code, std::string message) {
    return {Kind::kTransfer, code, std::move(message)};
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
