#ifndef QUIRE_APP_PASSWORD_H_
#define QUIRE_APP_PASSWORD_H_

#include <string>

namespace app {

/// A secret that is wiped from memory when it is no longer needed.
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

/// Asks for a password on the terminal, without showing what is typed; where the standard input is
/// no terminal, takes its next line. Throws CommandError when there is none.
/// \param twice  on the terminal, asks again and compares.
Password ReadPassword(const std::string& prompt, bool twice = false);

}  // namespace app

#endif  // QUIRE_APP_PASSWORD_H_
