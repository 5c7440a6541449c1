/// \file
/// Title and author of a FictionBook file.

#ifndef DEVICE_SCANNER_FB2_METADATA_H_
#define DEVICE_SCANNER_FB2_METADATA_H_

#include <filesystem>

#include "book_metadata.h"

namespace scanner {

/// Reads the description, which precedes the text. Throws std::bad_alloc only.
BookMetadata ReadFb2Metadata(const std::filesystem::path& file);

/// Reads the first file of a ZIP archive likewise.
BookMetadata ReadZippedFb2Metadata(const std::filesystem::path& file);

}  // namespace scanner

#endif  // DEVICE_SCANNER_FB2_METADATA_H_
