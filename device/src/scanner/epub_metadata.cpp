#include "epub_metadata.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <zip.h>

#include <cstddef>
#include <memory>
#include <string_view>

#include "../xml_text.h"

namespace scanner {
namespace {

// Far above what large books need: the container names one file, the package lists all files.
constexpr std::size_t kMaxContainer_bytes = 64 << 10;
constexpr std::size_t kMaxPackage_bytes = 4 << 20;

struct Free {
  void operator()(zip_t* zip) const { zip_discard(zip); }
  void operator()(zip_file_t* file) const { zip_fclose(file); }
};
template <typename T>
using Owned = std::unique_ptr<T, Free>;

/// \return null when the entry is missing, larger than `max_bytes`, or not XML.
XmlDocument ReadXml(zip_t* zip, const std::string& name, std::size_t max_bytes) {
  const Owned<zip_file_t> file(zip_fopen(zip, name.c_str(), 0));
  if (!file) return nullptr;
  // The declared size is untrusted, so the buffer grows with the bytes that are read.
  constexpr std::size_t kStep_bytes = 64 << 10;
  std::string text;
  for (zip_int64_t count = 1; count > 0;) {
    const std::size_t done = text.size();
    if (done > max_bytes) return nullptr;
    text.resize(done + kStep_bytes);
    count = zip_fread(file.get(), text.data() + done, kStep_bytes);
    if (count < 0) return nullptr;
    text.resize(done + static_cast<std::size_t>(count));
  }
  return XmlDocument(
      xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                    XML_PARSE_NONET | XML_PARSE_RECOVER | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
}

BookMetadata ReadPackage(const xmlDoc* package) {
  BookMetadata metadata;
  const xmlNode* section = FindChild(xmlDocGetRootElement(package), "metadata");
  // The first version of the format has one more level.
  if (const xmlNode* inner = section ? FindChild(section, "dc-metadata") : nullptr) section = inner;
  for (const xmlNode* node = section ? section->children : nullptr; node; node = node->next) {
    if (ElementName(node) == "title" && metadata.title.empty())
      metadata.title = TruncateField(GetText(node));
    if (ElementName(node) != "creator") continue;
    const std::string role = GetAttribute(node, "role");
    const std::string name = GetText(node);
    if (name.empty() || (!role.empty() && role != "aut")) continue;
    metadata.author = TruncateField(metadata.author.empty() ? name : metadata.author + ", " + name);
  }
  return metadata;
}

}  // namespace

BookMetadata ReadEpubMetadata(const std::filesystem::path& file) {
  const Owned<zip_t> zip(zip_open(file.c_str(), ZIP_RDONLY, nullptr));
  if (!zip) return {};
  const XmlDocument container = ReadXml(zip.get(), "META-INF/container.xml", kMaxContainer_bytes);
  if (!container) return {};
  const xmlNode* root_file =
      FindChild(FindChild(xmlDocGetRootElement(container.get()), "rootfiles"), "rootfile");
  if (!root_file) return {};
  const XmlDocument package =
      ReadXml(zip.get(), GetAttribute(root_file, "full-path"), kMaxPackage_bytes);
  return package ? ReadPackage(package.get()) : BookMetadata();
}

}  // namespace scanner
