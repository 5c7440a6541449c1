/// \file
/// Title and author of a PDF file.

#ifndef DEVICE_SCANNER_PDF_METADATA_H_
#define DEVICE_SCANNER_PDF_METADATA_H_

#include <filesystem>

#include "book_metadata.h"

namespace scanner {

/// Reads a PDF with the program pdfinfo in a child process, which has limits on memory and time: a
/// hostile file ends that process only. Empty without pdfinfo, and for a file that it cannot read.
/// Throws std::bad_alloc only.
BookMetadata ReadPdfMetadata(const std::filesystem::path& file);

}  // namespace scanner

#endif  // DEVICE_SCANNER_PDF_METADATA_H_
