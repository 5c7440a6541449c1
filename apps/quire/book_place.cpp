#include "book_place.h"

#include <filesystem>
#include <tuple>

#include "book_files.h"
#include "file_names.h"

namespace app {
namespace {

constexpr std::size_t kLongName_bytes = 200;  // one may be cut from here on

}  // namespace

std::string FindFile(const store::Book& book, bool any_format) {
  std::string path = store::GetBookFile(book);
  if (!path.empty()) return path;
  const std::filesystem::path expected = store::GenerateBookFileName(book);
  const std::string name = std::get<0>(store::ParseToNameExtention(expected.string()));
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(expected.parent_path(), error)) {
    const auto [found, extension] = store::ParseToNameExtention(entry.path().string());
    const bool is_cut = entry.path().filename().string().size() >= kLongName_bytes;
    if (extension == "part" || !entry.is_regular_file(error)) continue;
    if ((any_format && found == name) || (is_cut && name.starts_with(found))) {
      return entry.path().string();
    }
  }
  return {};
}

store::BookStatus StatusOf(store::StoreManager& manager, const store::Book& book) {
  store::BookStatus status = manager.GetBookStatus(GetString(book, store::Book::kEan));
  if (status.status != store::BookStatus::kPurchased) return status;
  status.path = FindFile(book, false);
  if (!status.path.empty()) status.status = store::BookStatus::kDownloaded;
  return status;
}

}  // namespace app
