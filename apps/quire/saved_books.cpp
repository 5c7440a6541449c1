#include "saved_books.h"

#include <filesystem>
#include <utility>

#include "book_files.h"
#include "book_view.h"
#include "json_output.h"
#include "state_file.h"

namespace app {
namespace {

bool IsFile(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_regular_file(path, error);
}

}  // namespace

SavedBooks::SavedBooks(std::string file) : file_(std::move(file)) {
  const Json json = Json::parse(ReadStateFile(file_).value_or(""), nullptr, false);
  if (!json.is_object()) return;
  for (const auto& [ean, path] : json.items()) {
    if (path.is_string()) paths_[ean] = path.get<std::string>();
  }
}

std::string SavedBooks::Find(const store::Book& book) const {
  std::string path = store::GetBookFile(book);
  if (!path.empty()) return path;
  const auto saved = paths_.find(GetString(book, store::Book::kEan));
  return saved != paths_.end() && IsFile(saved->second) ? saved->second : std::string();
}

store::BookStatus SavedBooks::GetStatus(store::StoreManager& manager,
                                        const store::Book& book) const {
  store::BookStatus status = manager.GetBookStatus(GetString(book, store::Book::kEan));
  if (status.status != store::BookStatus::kPurchased) return status;
  status.path = Find(book);
  if (!status.path.empty()) status.status = store::BookStatus::kDownloaded;
  return status;
}

bool SavedBooks::Add(const std::string& ean, const std::string& path) {
  std::erase_if(paths_, [&](const auto& entry) {
    return entry.second == path || !IsFile(entry.second);  // a path holds one book
  });
  paths_[ean] = path;
  return ReplaceStateFile(file_, SerializeJson(Json(paths_)));
}

}  // namespace app
