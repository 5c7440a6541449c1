/// \file
/// Title and author of a FictionBook file.

#ifndef DEVICE_SCANNER_FB2_METADATA_H_
#define DEVICE_SCANNER_FB2_METADATA_H_

#include <filesystem>

#include "book_metadata.h"

namespace scanner {

/// Takes at most about a second and 20 MiB. Throws std::bad_alloc only.
BookMetadata ReadFb2Metadata(const std::filesystem::path& path);

/// The same for the first file of a ZIP archive.
BookMetadata ReadZippedFb2Metadata(const std::filesystem::path& path);

}  // namespace scanner

#endif  // DEVICE_SCANNER_FB2_METADATA_H_
