/// \file
/// Untrusted strings as a terminal or a library may show them. Input is any bytes, output is valid
/// UTF-8.

#ifndef DEVICE_SRC_TEXT_H_
#define DEVICE_SRC_TEXT_H_

#include <string>
#include <string_view>

/// Replaces control characters and line separators by spaces and invalid UTF-8 by U+FFFD, and
/// removes embeddings, overrides and isolates of the writing direction.
std::string MakePrintable(std::string_view text);

/// A printable string, trimmed, with one space for each run of white space.
std::string NormalizeSpace(std::string_view text);

/// A string truncated to at most `max_bytes` at a character boundary.
std::string Truncate(std::string text, std::size_t max_bytes);

#endif  // DEVICE_SRC_TEXT_H_
