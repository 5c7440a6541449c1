/// \file
/// Records the book files of a directory in the library.

#ifndef DEVICE_SCANNER_SCAN_H_
#define DEVICE_SCANNER_SCAN_H_

#include <filesystem>

namespace scanner {

struct ScanResult {
  int books = 0;          ///< book files found
  int new_books = 0;      ///< of these, those not recorded before
  int deleted_books = 0;  ///< recorded books that no longer exist
};

/// Updates the library with the books in `directory` and below it. Symbolic links, hidden files and
/// unfinished downloads are ignored. A damaged library is renamed, with a line on standard error,
/// and replaced by a new one.
/// \throws std::runtime_error with a message for the user when the directory cannot be read or the
///     library cannot be written; the library is then unchanged.
ScanResult Scan(const std::filesystem::path& directory, const std::filesystem::path& library_file);

}  // namespace scanner

#endif  // DEVICE_SCANNER_SCAN_H_
