#ifndef QUIRE_APP_TEXT_H_
#define QUIRE_APP_TEXT_H_

#include <string>
#include <string_view>
#include <vector>

namespace app {

// Text as a terminal shows it. Input is whatever a server or a file sent; output is UTF-8.

/// Makes the process read and measure text as UTF-8 whatever its environment says. Numbers keep
/// the plain form. Call it before everything else here.
void SetUtf8Locale();

/// `text` on one line and without anything that a terminal would obey: white space becomes a blank;
/// control characters, marks that turn the direction of writing and bytes that are no UTF-8 become
/// U+FFFD.
std::string MakePrintable(std::string_view text);

/// The columns that a printable text takes.
int DisplayWidth(std::string_view text);

/// A printable text in at most `columns` columns; where it is longer it ends with "…".
std::string Truncate(std::string_view text, int columns);

/// A printable text as lines of at most `columns` columns, broken at blanks where it can be.
/// `columns` of 0 or less: one line.
std::vector<std::string> Wrap(std::string_view text, int columns);

/// For comparing without regard to upper and lower case.
std::string FoldCase(std::string_view text);

}  // namespace app

#endif  // QUIRE_APP_TEXT_H_
