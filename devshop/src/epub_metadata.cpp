#include "epub_metadata.h"

#include <zip.h>

#include <memory>
#include <pugixml.hpp>
#include <string_view>

namespace devshop {
namespace {

constexpr zip_uint64_t kMaxDocument_bytes = 4 * 1024 * 1024;

using Archive = std::unique_ptr<zip_t, decltype(&zip_discard)>;

pugi::xml_document ReadDocument(zip_t* archive, const std::string& name) {
  pugi::xml_document document;
  zip_stat_t info;
  if (zip_stat(archive, name.c_str(), 0, &info) != 0 || info.size > kMaxDocument_bytes) {
    return document;
  }
  const std::unique_ptr<zip_file_t, decltype(&zip_fclose)> file(zip_fopen(archive, name.c_str(), 0),
                                                                zip_fclose);
  std::string text(static_cast<std::size_t>(info.size), '\0');
  if (file &&
      zip_fread(file.get(), text.data(), text.size()) == static_cast<zip_int64_t>(info.size)) {
    document.load_buffer(text.data(), text.size());
  }
  return document;
}

/// An element's name without its namespace prefix, which differs between books.
std::string_view LocalName(const pugi::xml_node& node) {
  const std::string_view name = node.name();
  const auto colon = name.find(':');
  return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

pugi::xml_node FindElement(const pugi::xml_node& root, std::string_view name) {
  return root.find_node([&](const pugi::xml_node& node) { return LocalName(node) == name; });
}

void AppendName(std::string& list, const std::string& text) {
  if (!text.empty()) list += (list.empty() ? "" : ", ") + text;
}

}  // namespace

EpubMetadata ReadEpubMetadata(const std::filesystem::path& epub) {
  EpubMetadata metadata;
  const Archive archive(zip_open(epub.c_str(), ZIP_RDONLY, nullptr), zip_discard);
  if (!archive) return metadata;
  const auto container = ReadDocument(archive.get(), "META-INF/container.xml");
  const std::string package_path =
      FindElement(container, "rootfile").attribute("full-path").value();
  const auto package = ReadDocument(archive.get(), package_path);
  for (const pugi::xml_node& node : FindElement(package, "metadata").children()) {
    const auto name = LocalName(node);
    const std::string text = node.child_value();
    if (name == "title" && metadata.title.empty()) metadata.title = text;
    if (name == "creator") AppendName(metadata.author, text);
    if (name == "language" && metadata.language.empty()) metadata.language = text;
    if (name == "description" && metadata.description.empty()) metadata.description = text;
  }
  return metadata;
}

}  // namespace devshop
