/// \file
/// A web page as text, and the form that it shows.

#ifndef DEVICE_AGENT_PAGE_H_
#define DEVICE_AGENT_PAGE_H_

#include <optional>
#include <string>
#include <vector>

namespace agent {

struct Field {
  std::string name;
  std::string value;         ///< initially the page's default
  std::string label;         ///< for the user; empty for a hidden field
  std::string autocomplete;  ///< the page's hint, such as "cc-number"
  bool hidden = false;       ///< sent unchanged
};

struct Button {
  std::string name;  ///< sent with `value` when the button is pressed, unless empty
  std::string value;
  std::string label;
};

struct Form {
  std::string action;  ///< as written; empty for the page's own URL
  bool post = false;
  std::vector<Field> fields;
  std::vector<Button> buttons;  ///< at least one
};

/// The title, the lines and all labels are printable; other strings are as the page has them.
struct Page {
  std::string title;
  std::vector<std::string> lines;
  std::optional<Form> form;  ///< the first one that has a button
};

/// Parses HTML and never fails: a damaged page yields what could be read.
/// \param charset  the encoding that the server declares; if empty, the page's own declaration
///     holds, and UTF-8 if there is none.
Page ParsePage(const std::string& html, const std::string& charset);

}  // namespace agent

#endif  // DEVICE_AGENT_PAGE_H_
