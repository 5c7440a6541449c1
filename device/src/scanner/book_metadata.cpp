#include "book_metadata.h"

#include "../text.h"
#include "epub_metadata.h"
#include "fb2_metadata.h"
#include "pdf_metadata.h"

namespace scanner {
namespace {

constexpr std::size_t kMaxField_bytes = 1000;

/// Splits the name of a file such as "AUTHOR - TITLE.txt".
BookMetadata ParseName(std::string_view name) {
  constexpr std::string_view kSeparator = " - ";
  BookMetadata metadata;
  const std::size_t separator = name.find(kSeparator);
  if (separator != std::string::npos && separator > 0) {
    metadata.AddAuthor(name.substr(0, separator));
    name.remove_prefix(separator + kSeparator.size());
  }
  metadata.SetTitle(name);
  return metadata;
}

}  // namespace

void BookMetadata::SetTitle(std::string_view text) {
  if (title.empty()) title = Truncate(NormalizeSpace(text), kMaxField_bytes);
}

void BookMetadata::AddAuthor(std::string_view text) {
  const std::string name = NormalizeSpace(text);
  if (name.empty()) return;
  author = Truncate(author.empty() ? name : author + ", " + name, kMaxField_bytes);
}

BookMetadata ReadMetadata(const std::filesystem::path& file, const std::string& format) {
  if (format == "epub") return ReadEpubMetadata(file);
  if (format == "pdf") return ReadPdfMetadata(file);
  if (format == "fb2") return ReadFb2Metadata(file);
  if (format == "fb2.zip") return ReadZippedFb2Metadata(file);
  if (format == "txt") return ParseName(file.stem().string());
  return {};
}

}  // namespace scanner
