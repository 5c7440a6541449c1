#include "book_metadata.h"

#include "../xml_text.h"
#include "epub_metadata.h"
#include "fb2_metadata.h"
#include "pdf_metadata.h"

namespace scanner {
namespace {

/// Splits the name of a file such as "AUTHOR - TITLE.txt".
BookMetadata ParseName(const std::string& stem) {
  constexpr std::string_view kSeparator = " - ";
  const std::string name = NormalizeSpace(stem);
  if (!IsUtf8(name)) return {};
  const std::size_t separator = name.find(kSeparator);
  if (separator == std::string::npos || separator == 0) return {TruncateField(name), {}};
  return {TruncateField(name.substr(separator + kSeparator.size())),
          TruncateField(name.substr(0, separator))};
}

}  // namespace

std::string TruncateField(std::string text) {
  if (text.size() > kMaxField_bytes) {
    std::size_t end = kMaxField_bytes;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    text.resize(end);
  }
  return text;
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
