#include "atomic_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace devshop {
namespace {

bool WriteAll(int fd, std::string_view content) {
  while (!content.empty()) {
    const ssize_t written = write(fd, content.data(), content.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    content.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

bool SyncDirectory(const std::filesystem::path& directory) {
  const int fd = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return false;
  const bool synced = fsync(fd) == 0;
  return close(fd) == 0 && synced;
}

std::error_code LastError() {
  return {errno, std::generic_category()};
}

}  // namespace

std::error_code WriteFileAtomically(const std::filesystem::path& path, std::string_view content) {
  auto temp_file = path;
  temp_file += ".new";
  const int fd = open(temp_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd < 0) return LastError();
  std::error_code error;
  if (!WriteAll(fd, content) || fsync(fd) != 0) error = LastError();
  if (close(fd) != 0 && !error) error = LastError();
  if (!error && rename(temp_file.c_str(), path.c_str()) != 0) error = LastError();
  if (error) {
    unlink(temp_file.c_str());
    return error;
  }
  return SyncDirectory(path.parent_path()) ? std::error_code() : LastError();
}

}  // namespace devshop
