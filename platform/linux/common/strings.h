#ifndef PLATFORM_LINUX_COMMON_STRINGS_H_
#define PLATFORM_LINUX_COMMON_STRINGS_H_

#include <string>
#include <string_view>
#include <vector>

namespace saltmoor::platform {

/// The parts of `text` between separators; one empty part for an empty text.
std::vector<std::string> Split(std::string_view text, char separator);

/// Reads a decimal number, whole: no blanks, nothing after it.
/// \return false, and `*number` is unchanged, when the text is no number that fits an int.
bool ParseInt(const std::string& text, int* number);

/// Makes one line of a text: control characters, which a terminal would obey, become \n, \t, \xHH.
std::string EscapeControlCharacters(std::string_view text);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_COMMON_STRINGS_H_
