#include "saved_books.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "book_files.h"
#include "book_view.h"
#include "json_output.h"

namespace app {
namespace {

bool IsFile(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_regular_file(path, error);
}

bool SyncDirectory(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const bool is_synced = fd >= 0 && fsync(fd) == 0;
  return close(fd) == 0 && is_synced;
}

bool ReplaceFile(const std::string& path, const std::string& content) {
  std::string temp_file = path + ".XXXXXX";
  const int fd = mkostemp(temp_file.data(), O_CLOEXEC);  // mode 0600
  FILE* const file = fd < 0 ? nullptr : fdopen(fd, "wb");
  if (file == nullptr) return false;
  bool done = std::fwrite(content.data(), 1, content.size(), file) == content.size() &&
              std::fflush(file) == 0 && fsync(fd) == 0;
  done = std::fclose(file) == 0 && done;
  done = done && std::rename(temp_file.c_str(), path.c_str()) == 0;
  if (!done) unlink(temp_file.c_str());
  return done && SyncDirectory(std::filesystem::path(path).parent_path());
}

}  // namespace

SavedBooks::SavedBooks(std::string file) : file_(std::move(file)) {
  std::ostringstream content;
  content << std::ifstream(file_, std::ios::binary).rdbuf();
  const Json json = Json::parse(content.str(), nullptr, false);
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
  return ReplaceFile(file_, SerializeJson(Json(paths_)));
}

}  // namespace app
