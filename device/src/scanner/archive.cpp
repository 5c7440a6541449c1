#include "archive.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <string>

namespace scanner {
namespace {

// libzip keeps the whole directory of an archive in memory.
constexpr std::uint32_t kMaxDirectory_bytes = 2 << 20;  // some 20,000 files

/// Whether an archive's directory is small enough to be read. Its size is in the record at the end,
/// which a comment of 64 KiB may follow; archives of 4 GiB have another record before it.
bool HasSmallDirectory(const std::filesystem::path& path) {
  constexpr std::size_t kRecord_bytes = 22, kLocator_bytes = 20, kMaxTail_bytes = 66'000;
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  const std::streamoff size = file.tellg();
  std::string tail(std::min<std::size_t>(kMaxTail_bytes, std::max<std::streamoff>(size, 0)), '\0');
  file.seekg(-static_cast<std::streamoff>(tail.size()), std::ios::end);
  if (!file.read(tail.data(), static_cast<std::streamsize>(tail.size()))) return false;
  for (std::size_t at = 0; (at = tail.find("PK\5\6", at)) != std::string::npos; ++at) {
    if (at + kRecord_bytes > tail.size()) break;
    std::uint32_t directory_bytes = 0;
    for (int i = 3; i >= 0; --i) {
      directory_bytes = directory_bytes << 8 | static_cast<unsigned char>(tail[at + 12 + i]);
    }
    if (directory_bytes > kMaxDirectory_bytes) return false;
    if (at >= kLocator_bytes && tail.compare(at - kLocator_bytes, 4, "PK\6\7") == 0) return false;
  }
  return true;
}

DocumentReader::Source ToSource(zip_file_t* opened) {
  if (!opened) return nullptr;
  const std::shared_ptr<zip_file_t> file(opened, zip_fclose);
  return [file](char* buffer, std::size_t size) { return zip_fread(file.get(), buffer, size); };
}

}  // namespace

Archive::Archive(const std::filesystem::path& path) {
  if (HasSmallDirectory(path)) zip_.reset(zip_open(path.c_str(), ZIP_RDONLY, nullptr));
}

DocumentReader::Source Archive::Open(const std::string& name) const {
  return zip_ ? ToSource(zip_fopen(zip_.get(), name.c_str(), 0)) : nullptr;
}

DocumentReader::Source Archive::OpenFirst() const {
  return zip_ ? ToSource(zip_fopen_index(zip_.get(), 0, 0)) : nullptr;
}

}  // namespace scanner
