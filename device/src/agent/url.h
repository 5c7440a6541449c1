/// \file
/// Web addresses, parsed once.

#ifndef DEVICE_AGENT_URL_H_
#define DEVICE_AGENT_URL_H_

#include <optional>
#include <string>

namespace agent {

/// An http or https URL in normal form: printable ASCII, the scheme in lower case.
class Url {
 public:
  /// Empty unless the text is such a URL.
  static std::optional<Url> Parse(const std::string& text);
  /// Resolves a reference of the page at this URL. Empty unless the result is such a URL.
  std::optional<Url> Resolve(const std::string& reference) const;

  const std::string& text() const { return text_; }
  bool is_encrypted() const { return text_.starts_with("https:"); }

 private:
  static std::optional<Url> Normalize(const std::string& base, const std::string& reference);

  std::string text_;
};

}  // namespace agent

#endif  // DEVICE_AGENT_URL_H_
