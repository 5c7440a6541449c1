/// \file
/// Who decides: the user at the terminal, or the setting QUIRE_BROWSER_ANSWER in his place.

#ifndef DEVICE_AGENT_USER_H_
#define DEVICE_AGENT_USER_H_

#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>

#include "page.h"

namespace agent {

/// The user cannot be asked, or the page does not offer what was answered. One sentence.
struct UserError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

class User {
 public:
  /// Throws UserError.
  User();

  void Show(const Page& page);
  /// Fills the form in.
  /// \return the button that is pressed; none when the user closes the browser. Throws UserError.
  std::optional<Button> Answer(Form* form);

 private:
  std::optional<Button> AnswerBySetting(Form* form);
  std::optional<Button> Ask(Form* form);
  bool ReadLine(const std::string& prompt, std::string* line);

  std::string setting_;
  std::ofstream terminal_out_;
  std::ifstream terminal_in_;
  std::ostream* out_ = nullptr;
  int answers_ = 0;
};

}  // namespace agent

#endif  // DEVICE_AGENT_USER_H_
