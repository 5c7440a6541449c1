#include "fb2_metadata.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <zip.h>

#include <algorithm>
#include <fstream>
#include <memory>

#include "../xml_text.h"

namespace scanner {
namespace {

constexpr std::size_t kMaxDescription_bytes = 256 << 10;  // the rest of the file is not read

struct Close {
  void operator()(zip_t* zip) const { zip_discard(zip); }
  void operator()(zip_file_t* file) const { zip_fclose(file); }
};

/// A person's names, joined with spaces.
std::string ParseAuthor(const xmlNode* author) {
  std::string name;
  for (const char* part : {"first-name", "middle-name", "last-name"}) {
    const xmlNode* node = FindChild(author, part);
    const std::string text = node ? GetText(node) : "";
    if (!text.empty()) name += (name.empty() ? "" : " ") + text;
  }
  return name;
}

BookMetadata ParseBeginning(const std::string& text) {
  const XmlDocument document(
      xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                    XML_PARSE_NONET | XML_PARSE_RECOVER | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
  if (!document) return {};
  BookMetadata metadata;
  const xmlNode* info =
      FindChild(FindChild(xmlDocGetRootElement(document.get()), "description"), "title-info");
  for (const xmlNode* node = info ? info->children : nullptr; node; node = node->next) {
    if (ElementName(node) == "book-title") metadata.title = TruncateField(GetText(node));
    if (ElementName(node) != "author") continue;
    const std::string name = ParseAuthor(node);
    if (name.empty()) continue;
    metadata.author = TruncateField(metadata.author.empty() ? name : metadata.author + ", " + name);
  }
  return metadata;
}

}  // namespace

BookMetadata ReadFb2Metadata(const std::filesystem::path& file) {
  std::string text(kMaxDescription_bytes, '\0');
  std::ifstream in(file, std::ios::binary);
  in.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(in.gcount()));
  return ParseBeginning(text);
}

BookMetadata ReadZippedFb2Metadata(const std::filesystem::path& file) {
  const std::unique_ptr<zip_t, Close> zip(zip_open(file.c_str(), ZIP_RDONLY, nullptr));
  if (!zip) return {};
  const std::unique_ptr<zip_file_t, Close> entry(zip_fopen_index(zip.get(), 0, 0));
  if (!entry) return {};
  std::string text(kMaxDescription_bytes, '\0');
  const zip_int64_t count = zip_fread(entry.get(), text.data(), text.size());
  text.resize(static_cast<std::size_t>(std::max<zip_int64_t>(count, 0)));
  return ParseBeginning(text);
}

}  // namespace scanner
