/// \file
/// What an EPUB says about itself.

#ifndef DEVICE_SCANNER_EPUB_METADATA_H_
#define DEVICE_SCANNER_EPUB_METADATA_H_

#include <filesystem>
#include <string>

namespace scanner {

/// Valid UTF-8 without control characters, on one line; empty where the book does not say.
struct Metadata {
  std::string title;
  std::string author;  ///< several are joined with ", "
};

/// Reads at most a few MiB, whatever the file announces. A file that is no EPUB, or a damaged one,
/// gives what could be read of it. Throws std::bad_alloc only.
Metadata ReadEpubMetadata(const std::filesystem::path& file);

}  // namespace scanner

#endif  // DEVICE_SCANNER_EPUB_METADATA_H_
