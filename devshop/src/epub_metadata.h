#ifndef DEVSHOP_EPUB_METADATA_H_
#define DEVSHOP_EPUB_METADATA_H_

#include <filesystem>
#include <string>

namespace devshop {

/// What an EPUB says about itself; what it does not say is empty.
struct EpubMetadata {
  std::string title;
  std::string author;  ///< several are joined by ", "
  std::string language;
  std::string description;
};

/// Everything is empty when the file is no EPUB.
EpubMetadata ReadEpubMetadata(const std::filesystem::path& epub);

}  // namespace devshop

#endif  // DEVSHOP_EPUB_METADATA_H_
