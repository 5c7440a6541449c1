#include <unistd.h>

#include <cerrno>
#include <climits>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <string>
#include <string_view>

#include "platform/linux/common/catch_at_boundary.h"
#include "platform/linux/common/error.h"
#include "platform/linux/common/log.h"
#include "tabulet.h"

namespace {

using saltmoor::platform::CatchAtBoundary;
using saltmoor::platform::Error;

/// Makes UTF-8 the calling thread's encoding while it lives, whatever locale the program has set.
class Utf8Scope {
 public:
  Utf8Scope() : previous_(uselocale(Utf8())) {}
  ~Utf8Scope() { uselocale(previous_); }
  Utf8Scope(const Utf8Scope&) = delete;
  Utf8Scope& operator=(const Utf8Scope&) = delete;

 private:
  static locale_t Utf8() {
    static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return locale;
  }

  locale_t previous_;
};

/// The upper case of the character that `rest` begins with. A byte that begins none is passed on.
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
  const Utf8Scope scope;
  std::string upper;
  while (!text.empty()) upper += ConsumeUpper(&text);
  return upper;
}

int Delete(const char* path) {
  if (unlink(path) == 0 || errno == ENOENT) return 0;
  const Error error = Error::System(errno, std::string("cannot delete ") + path);
  Log(saltmoor::platform::LogLevel::kError, error.message());
  return -1;
}

}  // namespace

int tb_unlink(const char* path) {
  return CatchAtBoundary(-1, [path] { return Delete(path); });
}

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
