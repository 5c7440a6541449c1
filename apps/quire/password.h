#ifndef QUIRE_APP_PASSWORD_H_
#define QUIRE_APP_PASSWORD_H_

#include <string>

namespace app {

/// A secret that is wiped from memory on destruction.
class Password {
 public:
  explicit Password(std::string value) : value_(std::move(value)) {}
  ~Password();
  Password(const Password&) = delete;
  Password& operator=(const Password&) = delete;

  const std::string& value() const { return value_; }

 private:
  std::string value_;
};

/// Reads a password: typed on the terminal without echo, or the next line of a standard input that
/// is not a terminal. Throws CommandError when there is none.
/// \param twice  on the terminal, asks a second time and compares.
Password ReadPassword(const std::string& prompt, bool twice = false);

}  // namespace app

#endif  // QUIRE_APP_PASSWORD_H_
