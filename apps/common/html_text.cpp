#include "html_text.h"

#include <libxml/HTMLparser.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <charconv>

namespace app {
namespace {

constexpr std::size_t kMaxReference_bytes = 12;  // of a character reference, without "&" and ";"

bool EqualsIgnoringCase(std::string_view text, std::string_view lower) {
  return std::equal(text.begin(), text.end(), lower.begin(), lower.end(), [](char one, char other) {
    return (one >= 'A' && one <= 'Z' ? one + ('a' - 'A') : one) == other;
  });
}

/// The character that "NAME", "#DECIMAL" or "#xHEX" stands for; 0 when there is none.
UChar32 ResolveReference(std::string_view reference) {
  if (!reference.starts_with('#')) {
    const std::string name(reference);
    const auto* entity = htmlEntityLookup(reinterpret_cast<const xmlChar*>(name.c_str()));
    return entity == nullptr ? 0 : static_cast<UChar32>(entity->value);
  }
  reference.remove_prefix(1);
  const bool is_hex = reference.starts_with('x') || reference.starts_with('X');
  reference.remove_prefix(is_hex ? 1 : 0);
  UChar32 number = 0;
  const char* const end = reference.data() + reference.size();
  const auto read = std::from_chars(reference.data(), end, number, is_hex ? 16 : 10);
  const bool is_character = read.ec == std::errc() && read.ptr == end && number > 0 &&
                            number <= 0x10FFFF && !U_IS_SURROGATE(number);
  return is_character ? number : 0;
}

/// Appends the character reference at the start of `rest` and removes it; without one, the "&".
void ReadReference(std::string_view& rest, std::string& out) {
  const std::size_t end = rest.substr(0, kMaxReference_bytes + 2).find(';');
  const UChar32 character = end == rest.npos ? 0 : ResolveReference(rest.substr(1, end - 1));
  if (character == 0) {
    out += '&';
    rest.remove_prefix(1);
    return;
  }
  icu::UnicodeString(character).toUTF8String(out);
  rest.remove_prefix(end + 1);
}

void RemoveThrough(std::string_view& rest, std::string_view end) {
  const std::size_t at = rest.find(end);
  rest.remove_prefix(at == rest.npos ? rest.size() : at + end.size());
}

/// Removes the tag or comment at the start of `rest`; of scripts and styles the content, too.
void ReadTag(std::string_view& rest, std::string& out) {
  if (rest.starts_with("<!--")) return RemoveThrough(rest, "-->");
  const std::size_t start = rest.starts_with("</") ? 2 : 1;
  std::string_view name = rest.substr(start);
  name = name.substr(0, name.find_first_of(" \t\r\n/>"));
  if (IsBlockElement(name)) out += ' ';
  const bool has_raw_content =
      EqualsIgnoringCase(name, "script") || EqualsIgnoringCase(name, "style");
  RemoveThrough(rest, ">");
  if (has_raw_content && start == 1) {
    RemoveThrough(rest, "</");
    RemoveThrough(rest, ">");
  }
}

bool IsTag(std::string_view rest) {
  const char next = rest.size() > 1 ? rest[1] : ' ';
  return (next >= 'a' && next <= 'z') || (next >= 'A' && next <= 'Z') || next == '/' || next == '!';
}

}  // namespace

bool IsBlockElement(std::string_view name) {
  constexpr std::array<std::string_view, 14> kNames{
      "p", "br", "div", "li", "ul", "ol", "tr", "td", "hr", "h1", "h2", "h3", "h4", "blockquote"};
  return std::any_of(kNames.begin(), kNames.end(),
                     [&](std::string_view each) { return EqualsIgnoringCase(name, each); });
}

std::string HtmlToText(std::string_view html) {
  std::string out;
  out.reserve(html.size());
  while (!html.empty()) {
    if (html.front() == '&') {
      ReadReference(html, out);
    } else if (html.front() == '<' && IsTag(html)) {
      ReadTag(html, out);
    } else {
      const std::size_t length = std::min(html.find_first_of("&<", 1), html.size());
      out += html.substr(0, length);
      html.remove_prefix(length);
    }
  }
  return out;
}

}  // namespace app
