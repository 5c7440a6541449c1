/// \file
/// The user's decisions: typed on the terminal, or scripted by QUIRE_BROWSER_ANSWER.

#ifndef DEVICE_AGENT_USER_INTERFACE_H_
#define DEVICE_AGENT_USER_INTERFACE_H_

#include <fstream>
#include <optional>
#include <string>

#include "../util.h"
#include "page.h"

namespace agent {

/// The constructor and CompleteForm throw std::runtime_error, with one sentence for the user, when
/// there is no terminal or the page does not offer the scripted answer.
class UserInterface {
 public:
  UserInterface();

  void Show(const Page& page);
  /// Sets the values of the form's fields.
  /// \return the button that was pressed; none when the user closes the browser.
  std::optional<Button> CompleteForm(Form* form);

 private:
  std::optional<Button> CompleteFromScript(Form* form);
  std::optional<Button> CompleteOnTerminal(Form* form);
  bool ReadLine(const std::string& prompt, std::string* line);

  const std::string scripted_answer_ = GetEnvironment("QUIRE_BROWSER_ANSWER");
  std::ofstream terminal_out_;
  std::ifstream terminal_in_;
  std::ostream* out_ = nullptr;
  int scripted_forms_ = 0;
};

}  // namespace agent

#endif  // DEVICE_AGENT_USER_INTERFACE_H_
