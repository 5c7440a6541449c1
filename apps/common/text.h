#ifndef QUIRE_APPS_COMMON_TEXT_H_
#define QUIRE_APPS_COMMON_TEXT_H_

#include <string>
#include <string_view>
#include <vector>

namespace app {

// Strings as a terminal shows them. Input is any bytes that a server or a file sent; output is
// UTF-8.

/// Sets a UTF-8 locale for characters, whatever the environment says; numbers keep the C locale.
/// Must be called before the other functions here.
void SetUtf8Locale();

/// `text` on one line without control sequences: white space becomes a space; control characters,
/// direction controls and invalid UTF-8 become U+FFFD.
std::string MakePrintable(std::string_view text);

/// The number of columns of a printable string.
int DisplayWidth(std::string_view text);

/// A printable string shortened to at most `columns` columns; a shortened one ends with "…".
std::string Truncate(std::string_view text, int columns);

/// A printable string as lines of at most `columns` columns, broken at spaces if possible; as one
/// line when `columns` is 0 or less.
std::vector<std::string> Wrap(std::string_view text, int columns);

/// `text` in lower case, for comparisons.
std::string FoldCase(std::string_view text);

}  // namespace app

#endif  // QUIRE_APPS_COMMON_TEXT_H_
