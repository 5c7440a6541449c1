#ifndef DEVSHOP_EPUB_METADATA_H_
#define DEVSHOP_EPUB_METADATA_H_

#include <filesystem>
#include <string>

namespace devshop {

/// The metadata of an EPUB; missing values are empty.
struct EpubMetadata {
  std::string title;
  std::string author;  ///< several are joined by ", "
  std::string language;
  std::string description;
};

/// All values are empty when the file is not an EPUB.
EpubMetadata ReadEpubMetadata(const std::filesystem::path& epub);

}  // namespace devshop

#endif  // DEVSHOP_EPUB_METADATA_H_
