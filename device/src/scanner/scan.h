/// \file
/// One walk over a folder, recorded in the library.

#ifndef DEVICE_SCANNER_SCAN_H_
#define DEVICE_SCANNER_SCAN_H_

#include <filesystem>

namespace scanner {

struct ScanResult {
  int books = 0;      ///< book files that the folder holds now
  int new_books = 0;  ///< of these, how many were not recorded before
  int gone = 0;       ///< recorded ones that the folder holds no more
};

/// Brings the library up to date with what lies in `folder` and below. Follows no links, and leaves
/// out hidden files and downloads under way. A damaged library is moved aside, with a line on
/// standard error, and made anew.
/// \throws std::runtime_error with a text for people when the folder cannot be read or the library
///     cannot be written; the library is then as it was.
ScanResult Scan(const std::filesystem::path& folder, const std::filesystem::path& library_file);

}  // namespace scanner

#endif  // DEVICE_SCANNER_SCAN_H_
