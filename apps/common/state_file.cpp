#include "state_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace app {
namespace {

constexpr std::size_t kMaxFile_bytes = std::size_t{16} << 20;

bool SyncDirectory(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const bool is_synced = fd >= 0 && fsync(fd) == 0;
  return close(fd) == 0 && is_synced;
}

}  // namespace

std::optional<std::string> ReadStateFile(const std::string& path) {
  FILE* const file = std::fopen(path.c_str(), "rbe");
  if (file == nullptr) return errno == ENOENT ? std::optional(std::string()) : std::nullopt;
  std::string content;
  std::array<char, 4096> buffer{};
  while (const std::size_t size = std::fread(buffer.data(), 1, buffer.size(), file)) {
    content.append(buffer.data(), size);
    if (content.size() > kMaxFile_bytes) break;
  }
  const bool is_whole = std::ferror(file) == 0 && content.size() <= kMaxFile_bytes;
  return std::fclose(file) == 0 && is_whole ? std::optional(content) : std::nullopt;
}

bool ReplaceStateFile(const std::string& path, const std::string& content) {
  std::string temp_file = path + ".XXXXXX";
  const int fd = mkostemp(temp_file.data(), O_CLOEXEC);  // mode 0600
  if (fd < 0) return false;
  FILE* const file = fdopen(fd, "wb");
  if (file == nullptr) {
    close(fd);
    unlink(temp_file.c_str());
    return false;
  }
  bool done = std::fwrite(content.data(), 1, content.size(), file) == content.size() &&
              std::fflush(file) == 0 && fsync(fd) == 0;
  done = std::fclose(file) == 0 && done;
  done = done && std::rename(temp_file.c_str(), path.c_str()) == 0;
  if (!done) unlink(temp_file.c_str());
  return done && SyncDirectory(std::filesystem::path(path).parent_path());
}

FileLock::FileLock(const std::string& path)
    : fd_(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)), state_(State::kFailed) {
  if (fd_ < 0) return;
  const bool is_locked = flock(fd_, LOCK_EX | LOCK_NB) == 0;
  state_ = is_locked ? State::kHeld : errno == EWOULDBLOCK ? State::kBusy : State::kFailed;
}

FileLock::~FileLock() {
  if (fd_ >= 0) close(fd_);
}

}  // namespace app
