/// \file
/// Title and author of a book file of any format.

#ifndef DEVICE_SCANNER_BOOK_METADATA_H_
#define DEVICE_SCANNER_BOOK_METADATA_H_

#include <filesystem>
#include <string>
#include <string_view>

namespace scanner {

/// A missing value is empty.
struct BookMetadata {
  std::string title;
  std::string author;  ///< several authors are joined with ", "

  /// Sets the title if there is none. A string from a file becomes printable, one line and at most
  /// 1000 bytes of valid UTF-8, here and in AddAuthor.
  void SetTitle(std::string_view text);
  void AddAuthor(std::string_view text);
};

/// Reads the metadata of a file, at a cost that is limited whatever the file declares. A damaged
/// file yields what could be read. Throws std::bad_alloc only.
/// \param format  the lower-case extension, without the dot. An EPUB, PDF or FictionBook has its
///     metadata inside; a plain text is named "AUTHOR - TITLE.txt" or "TITLE.txt"; for another
///     format there is none.
BookMetadata ReadMetadata(const std::filesystem::path& file, const std::string& format);

}  // namespace scanner

#endif  // DEVICE_SCANNER_BOOK_METADATA_H_
