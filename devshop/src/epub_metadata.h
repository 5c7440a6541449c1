#ifndef DEVSHOP_EPUB_METADATA_H_
#define DEVSHOP_EPUB_METADATA_H_

#include <filesystem>

#include "title.h"

namespace devshop {

/// Sets title, author (several joined by ", "), language and summary if the EPUB has them; none
/// if the file is not an EPUB.
void ReadEpubMetadata(const std::filesystem::path& epub, Title& title);

}  // namespace devshop

#endif  // DEVSHOP_EPUB_METADATA_H_
