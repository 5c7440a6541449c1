/// \file
/// A web page as a user without a screen sees it: its text, and the form that it asks to fill.

#ifndef DEVICE_AGENT_PAGE_H_
#define DEVICE_AGENT_PAGE_H_

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace agent {

struct Field {
  std::string name;
  std::string value;         ///< what the page has filled in
  std::string label;         ///< for people; empty for a hidden field
  std::string autocomplete;  ///< the page's hint of what belongs here, such as "cc-number"
  bool hidden = false;       ///< sent as it is
};

struct Button {
  std::string name;  ///< sent with `value` when the button is pressed; empty: nothing is sent
  std::string value;
  std::string label;
};

struct Form {
  std::string action;  ///< as written; empty: the page's own address
  bool post = false;
  std::vector<Field> fields;
  std::vector<Button> buttons;  ///< at least one
};

/// All texts are valid UTF-8 without control characters.
struct Page {
  std::string title;
  std::vector<std::string> lines;
  std::optional<Form> form;  ///< the first one that has a button
};

/// Takes whatever a server calls HTML.
/// \param charset  as the server names it; empty: as the page does, else UTF-8.
Page ParsePage(const std::string& html, const std::string& charset);

/// Names and values as they are sent when `button` is pressed.
using FormData = std::vector<std::pair<std::string, std::string>>;
FormData Fill(const Form& form, const Button& button);

}  // namespace agent

#endif  // DEVICE_AGENT_PAGE_H_
