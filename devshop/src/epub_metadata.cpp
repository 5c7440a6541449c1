#include "epub_metadata.h"

#include <zip.h>

#include <memory>
#include <pugixml.hpp>
#include <string_view>

namespace devshop {
namespace {

constexpr zip_uint64_t kLargestDocument_bytes = 4 * 1024 * 1024;

using Archive = std::unique_ptr<zip_t, decltype(&zip_discard)>;

pugi::xml_document read_document(zip_t* archive, const std::string& name) {
  pugi::xml_document document;
  zip_stat_t info;
  if (zip_stat(archive, name.c_str(), 0, &info) != 0 || info.size > kLargestDocument_bytes) {
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
std::string_view local_name(const pugi::xml_node& node) {
  const std::string_view name = node.name();
  const auto colon = name.find(':');
  return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

pugi::xml_node find_element(const pugi::xml_node& root, std::string_view name) {
  return root.find_node([&](const pugi::xml_node& node) { return local_name(node) == name; });
}

void join(std::string& list, const std::string& text) {
  if (!text.empty()) list += (list.empty() ? "" : ", ") + text;
}

}  // namespace

EpubMetadata read_epub_metadata(const std::filesystem::path& epub) {
  EpubMetadata metadata;
  const Archive archive(zip_open(epub.c_str(), ZIP_RDONLY, nullptr), zip_discard);
  if (!archive) return metadata;
  const auto container = read_document(archive.get(), "META-INF/container.xml");
  const std::string package_path =
      find_element(container, "rootfile").attribute("full-path").value();
  const auto package = read_document(archive.get(), package_path);
  for (const pugi::xml_node& node : find_element(package, "metadata").children()) {
    const auto name = local_name(node);
    const std::string text = node.child_value();
    if (name == "title" && metadata.title.empty()) metadata.title = text;
    if (name == "creator") join(metadata.author, text);
    if (name == "language" && metadata.language.empty()) metadata.language = text;
    if (name == "description" && metadata.description.empty()) metadata.description = text;
  }
  return metadata;
}

}  // namespace devshop
