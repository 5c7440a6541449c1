#include "text.h"

#include <langinfo.h>
#include <wchar.h>

#include <algorithm>
#include <climits>
#include <clocale>
#include <cwchar>
#include <cwctype>

namespace app {
namespace {

constexpr wchar_t kReplacement = 0xFFFD;

/// Removes the first character of `rest`, which must not be empty; U+FFFD for an invalid byte.
wchar_t ReadCharacter(std::string_view& rest) {
  wchar_t character = 0;
  std::mbstate_t state{};
  const std::size_t length = std::mbrtowc(&character, rest.data(), rest.size(), &state);
  const bool is_invalid = length > rest.size();
  rest.remove_prefix(is_invalid || length == 0 ? 1 : length);
  return is_invalid ? kReplacement : character;
}

void Append(std::string& out, wchar_t character) {
  char bytes[MB_LEN_MAX];
  std::mbstate_t state{};
  const std::size_t length = std::wcrtomb(bytes, character, &state);
  if (length <= sizeof bytes) out.append(bytes, length);
}

bool IsDirectionControl(wchar_t character) {
  return (character >= 0x202A && character <= 0x202E) ||
         (character >= 0x2066 && character <= 0x2069);
}

int Columns(wchar_t character) {
  return std::max(wcwidth(character), 0);
}

/// Removes the characters from the start of `rest` that fit into `columns`.
std::string ReadColumns(std::string_view& rest, int columns) {
  const std::string_view all = rest;
  while (!rest.empty()) {
    std::string_view after = rest;
    columns -= Columns(ReadCharacter(after));
    if (columns < 0) break;
    rest = after;
  }
  return std::string(all.substr(0, all.size() - rest.size()));
}

}  // namespace

void SetUtf8Locale() {
  std::setlocale(LC_CTYPE, "");
  if (std::string_view(nl_langinfo(CODESET)) != "UTF-8") std::setlocale(LC_CTYPE, "C.UTF-8");
}

std::string MakePrintable(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const auto* const end =
        std::find_if(text.begin(), text.end(), [](char byte) { return byte < ' ' || byte > '~'; });
    out.append(text.begin(), end);  // what is ASCII needs no look-up
    text.remove_prefix(static_cast<std::size_t>(end - text.begin()));
    if (text.empty()) break;
    const wchar_t character = ReadCharacter(text);
    if (character != L' ' && std::iswspace(static_cast<wint_t>(character))) {
      out += ' ';
    } else {
      const bool is_control =
          wcwidth(character) < 0 || character == 0 || IsDirectionControl(character);
      Append(out, is_control ? kReplacement : character);
    }
  }
  return out;
}

int DisplayWidth(std::string_view text) {
  int columns = 0;
  while (!text.empty()) columns += Columns(ReadCharacter(text));
  return columns;
}

std::string Truncate(std::string_view text, int columns) {
  if (DisplayWidth(text) <= columns) return std::string(text);
  if (columns < 1) return {};
  std::string kept = ReadColumns(text, columns - 1);
  kept.erase(kept.find_last_not_of(' ') + 1);
  return kept + "…";
}

std::vector<std::string> Wrap(std::string_view text, int columns) {
  if (columns <= 0) return {std::string(text)};
  std::vector<std::string> lines;
  while (true) {
    std::string_view rest = text;
    std::string line = ReadColumns(rest, columns);
    if (rest.empty()) break;
    if (line.empty()) line = ReadColumns(rest, columns + 1);  // one column, but a wide character
    const bool at_space = rest.starts_with(' ');
    const std::size_t space = at_space ? line.size() : line.rfind(' ');
    if (space != std::string::npos && space > 0) line.resize(space);
    text.remove_prefix(line.size());
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    line.erase(line.find_last_not_of(' ') + 1);
    lines.push_back(std::move(line));
  }
  if (!text.empty() || lines.empty()) lines.emplace_back(text);
  return lines;
}

std::string FoldCase(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    Append(out, static_cast<wchar_t>(std::towlower(static_cast<wint_t>(ReadCharacter(text)))));
  }
  return out;
}

}  // namespace app
