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

}  // namespace

void ReadEpubMetadata(const std::filesystem::path& epub, Title& title) {
  const Archive archive(zip_open(epub.c_str(), ZIP_RDONLY, nullptr), zip_discard);
  if (!archive) return;
  const auto container = ReadDocument(archive.get(), "META-INF/container.xml");
  const auto package = ReadDocument(
      archive.get(), FindElement(container, "rootfile").attribute("full-path").value());
  const auto metadata = FindElement(package, "metadata");
  const auto read = [&](const char* name, std::string& value) {
    const std::string found = FindElement(metadata, name).child_value();
    if (!found.empty()) value = found;
  };
  read("title", title.title);
  read("language", title.language);
  read("description", title.summary);
  for (const pugi::xml_node& node : metadata.children()) {
    const std::string name = node.child_value();
    if (LocalName(node) != "creator" || name.empty()) continue;
    title.author += (title.author.empty() ? "" : ", ") + name;
  }
}

}  // namespace devshop
