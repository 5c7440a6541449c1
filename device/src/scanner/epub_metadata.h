/// \file
/// Title and author of an EPUB file.

#ifndef DEVICE_SCANNER_EPUB_METADATA_H_
#define DEVICE_SCANNER_EPUB_METADATA_H_

#include <filesystem>

#include "book_metadata.h"

namespace scanner {

/// Takes at most about a second and 20 MiB, whatever the file holds or declares. A file that is
/// damaged, excessive or not an EPUB yields what could be read. Throws std::bad_alloc only.
BookMetadata ReadEpubMetadata(const std::filesystem::path& file);

}  // namespace scanner

#endif  // DEVICE_SCANNER_EPUB_METADATA_H_
