#include <climits>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <string>
#include <string_view>

#include "platform/linux/common/log.h"
#include "tabulet.h"

namespace {

using saltmoor::platform::CatchAtBoundary;

/// Sets the encoding of the calling thread to UTF-8, independently of the program's locale.
class ScopedUtf8 {
 public:
  ScopedUtf8() : previous_(uselocale(Utf8())) {}
  ~ScopedUtf8() { uselocale(previous_); }
  ScopedUtf8(const ScopedUtf8&) = delete;
  ScopedUtf8& operator=(const ScopedUtf8&) = delete;

 private:
  static locale_t Utf8() {
    static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return locale;
  }

  locale_t previous_;
};

/// Removes the first character of `rest` and returns it in upper case. An invalid byte is returned
/// unchanged.
std::string ConsumeUpper(std::string_view* rest) {
  std::mbstate_t state{};
  wchar_t character = 0;
  const std::size_t size = std::mbrtowc(&character, rest->data(), rest->size(), &state);
  const bool valid = size != 0 && size <= rest->size();
  const std::string_view original = rest->substr(0, valid ? size : 1);
  rest->remove_prefix(original.size());
  if (!valid) return std::string(original);

  char upper[MB_LEN_MAX];
  state = {};
  const std::size_t upper_size = std::wcrtomb(
      upper, static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(character))), &state);
  return upper_size <= sizeof upper ? std::string(upper, upper_size) : std::string(original);
}

std::string ToUpper(std::string_view text) {
  const ScopedUtf8 scope;
  std::string upper;
  while (!text.empty()) upper += ConsumeUpper(&text);
  return upper;
}

}  // namespace

char* utf_toupper_ext(const char* text, int* length) {
  if (length) *length = 0;
  if (!text) return nullptr;
  return CatchAtBoundary(static_cast<char*>(nullptr), [=]() -> char* {
    const std::string upper = ToUpper(text);
    auto* copy = static_cast<char*>(std::malloc(upper.size() + 1));
    if (!copy) return nullptr;
    std::memcpy(copy, upper.c_str(), upper.size() + 1);
    if (length) *length = static_cast<int>(upper.size());
    return copy;
  });
}
