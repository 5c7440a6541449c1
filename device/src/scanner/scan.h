/// \file
/// Records the book files of a directory in the library.

#ifndef DEVICE_SCANNER_SCAN_H_
#define DEVICE_SCANNER_SCAN_H_

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace scanner {

struct ScanResult {
  int books = 0;          ///< book files found
  int new_books = 0;      ///< of these, those not recorded before
  int deleted_books = 0;  ///< recorded books that no longer exist
};

/// Updates the library with the books in `directory` and below it. Symbolic links, hidden files and
/// unfinished downloads are ignored. A book without a title is looked at again by each scan. A
/// damaged library is renamed, with a line on standard error, and replaced by a new one. The
/// library is its owner's alone. \throws std::runtime_error with a message for the user when the
/// directory cannot be read or the
///     library cannot be written; the library is then unchanged.
ScanResult Scan(const std::filesystem::path& directory, const std::filesystem::path& library_file);

/// A book as the library records it. An unknown title or author is empty.
struct LibraryBook {
  std::string path;
  std::string format;  ///< the lower-case extension, without the dot
  std::int64_t size_bytes = 0;
  std::int64_t modified_s = 0;  ///< since the epoch
  std::string title;
  std::string author;
};

/// Reads all recorded books, ordered by path; none if the library does not exist. Ends what a scan
/// that was killed has left.
/// \throws std::runtime_error with a message for the user when the library cannot be read.
std::vector<LibraryBook> ReadLibrary(const std::filesystem::path& library_file);

}  // namespace scanner

#endif  // DEVICE_SCANNER_SCAN_H_
