#include "whole_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <utility>

namespace saltmoor::quire {
namespace {

// The cart holds the session id: a new file is for its owner alone.
constexpr mode_t kNewFileMode = S_IRUSR | S_IWUSR;

class Descriptor {
 public:
  Descriptor(const char* path, int flags, mode_t mode = 0)
      : fd_(open(path, flags | O_CLOEXEC, mode)) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { Close(); }

  explicit operator bool() const { return fd_ >= 0; }
  int get() const { return fd_; }

  bool Close() {
    const int fd = std::exchange(fd_, -1);
    return fd < 0 || close(fd) == 0;
  }

  // Writes everything, has it reach the disk, and closes.
  bool Fill(const std::string& content) {
    const char* next = content.data();
    for (std::size_t left = content.size(); left > 0;) {
      const ssize_t written = write(fd_, next, left);
      if (written < 0 && errno == EINTR) continue;
      if (written <= 0) return false;
      next += written;
      left -= static_cast<std::size_t>(written);
    }
    const bool synced = fsync(fd_) == 0 || errno == EINVAL || errno == ENOTSUP;
    return Close() && synced;
  }

 private:
  int fd_;
};

void SyncFolderOf(const std::string& path) {
  const Descriptor folder(path.substr(0, path.rfind('/') + 1).c_str(), O_RDONLY | O_DIRECTORY);
  // Not every file system can; the rename itself is done.
  if (folder) static_cast<void>(fsync(folder.get()));
}

bool WriteInPlace(const char* path, const std::string& content) {
  Descriptor file(path, O_WRONLY | O_CREAT | O_TRUNC, kNewFileMode);
  return file && file.Fill(content);
}

// The file itself where `path` is a link, so that the link stays one.
std::string Resolved(const char* path) {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(path, nullptr), &std::free);
  return real ? real.get() : path;
}

}  // namespace

std::optional<std::string> ReadWholeFile(const char* path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  std::ostringstream content;
  content << file.rdbuf();  // unlike an iterator, throws nothing when the disk fails
  return content.str();
}

bool ReplaceWholeFile(const char* path, const std::string& content) {
  mode_t mode = kNewFileMode;
  struct stat old {};
  if (const Descriptor file(path, O_WRONLY | O_NONBLOCK); file) {
    if (fstat(file.get(), &old) == 0) mode = old.st_mode & 07777;
    if (!S_ISREG(old.st_mode)) return WriteInPlace(path, content);
  } else if (errno != ENOENT) {
    return false;
  }

  const std::string target = Resolved(path);
  const std::string neighbour = target + ".new";
  unlink(neighbour.c_str());  // what a crash may have left
  Descriptor file(neighbour.c_str(), O_WRONLY | O_CREAT | O_EXCL, mode);
  if (!file) {
    const bool no_room = errno == ENOSPC || errno == EDQUOT;
    return !no_room && WriteInPlace(path, content);
  }
  fchmod(file.get(), mode);  // the old file's, whatever the umask
  if (file.Fill(content) && rename(neighbour.c_str(), target.c_str()) == 0) {
    SyncFolderOf(target);
    return true;
  }
  unlink(neighbour.c_str());
  return false;
}

}  // namespace saltmoor::quire
