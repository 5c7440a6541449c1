/// \file
/// Title and author of a book file of any format.

#ifndef DEVICE_SCANNER_BOOK_METADATA_H_
#define DEVICE_SCANNER_BOOK_METADATA_H_

#include <cstddef>
#include <filesystem>
#include <string>

namespace scanner {

inline constexpr std::size_t kMaxField_bytes = 1000;

/// Strings are valid UTF-8 on one line, without control characters, and at most kMaxField_bytes
/// long. A missing value is empty.
struct BookMetadata {
  std::string title;
  std::string author;  ///< several authors are joined with ", "
};

/// Truncates UTF-8 to kMaxField_bytes at a character boundary.
std::string TruncateField(std::string text);

/// Reads the metadata of a file, at a cost that does not depend on what the file declares. A
/// damaged file yields what could be read. Throws std::bad_alloc only.
/// \param format  the lower-case extension, without the dot. An EPUB, PDF or FictionBook has its
///     metadata inside; a plain text is named "AUTHOR - TITLE.txt" or "TITLE.txt"; for another
///     format there is none.
BookMetadata ReadMetadata(const std::filesystem::path& file, const std::string& format);

}  // namespace scanner

#endif  // DEVICE_SCANNER_BOOK_METADATA_H_
