/// \file
/// Title and author of an EPUB file.

#ifndef DEVICE_SCANNER_EPUB_METADATA_H_
#define DEVICE_SCANNER_EPUB_METADATA_H_

#include <filesystem>
#include <string>

namespace scanner {

/// Strings are printable, on one line, and at most 1000 bytes long. A missing value is empty.
struct EpubMetadata {
  std::string title;
  std::string author;  ///< several authors are joined with ", "
};

/// Takes at most about a second and 20 MiB, whatever the file holds or declares. A file that is
/// damaged, excessive or not an EPUB yields what could be read. Throws std::bad_alloc only.
EpubMetadata ReadEpubMetadata(const std::filesystem::path& file);

}  // namespace scanner

#endif  // DEVICE_SCANNER_EPUB_METADATA_H_
