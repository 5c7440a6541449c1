#include "atomic_file.h"

#include <fcntl.h>
#include <sys/file.h>
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

class FileDescriptor {
 public:
  FileDescriptor(const std::string& path, int flags, mode_t mode = 0)
      : fd_(open(path.c_str(), flags | O_CLOEXEC, mode)) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() { Close(); }

  explicit operator bool() const { return fd_ >= 0; }
  int get() const { return fd_; }

  bool Close() {
    const int fd = std::exchange(fd_, -1);
    return fd < 0 || close(fd) == 0;
  }

  // Writes everything, syncs and closes.
  bool WriteAll(const std::string& content) {
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

bool CopyOwnerAndMode(const struct stat& old, int fd) {
  const bool foreign = old.st_uid != geteuid() || old.st_gid != getegid();
  return (!foreign || fchown(fd, old.st_uid, old.st_gid) == 0) &&
         fchmod(fd, old.st_mode & 07777) == 0;
}

// \return false when no temporary file can be made here, or none can replace the file; after a full
// disk the old content stays.
bool ReplaceByTempFile(const std::string& path, const struct stat* old,
                       const std::string& content) {
  const FileDescriptor directory(path.substr(0, path.rfind('/') + 1), O_RDONLY | O_DIRECTORY);
  // Two programs that save at the same time must not write the same temporary file.
  if (directory) flock(directory.get(), LOCK_EX);

  const std::string temp_file = path + ".new";
  unlink(temp_file.c_str());  // a crash may have left one
  FileDescriptor file(temp_file, O_WRONLY | O_CREAT | O_EXCL, kNewFileMode);
  if (!file) return errno == ENOSPC || errno == EDQUOT;
  const bool prepared = old == nullptr || CopyOwnerAndMode(*old, file.get());
  const bool written = prepared && file.WriteAll(content);
  if (!written || rename(temp_file.c_str(), path.c_str()) != 0) {
    unlink(temp_file.c_str());
    return prepared && !written;
  }
  if (directory) static_cast<void>(fsync(directory.get()));  // some file systems cannot
  return true;
}

// Without this a rename would replace a symbolic link instead of the file that it points to.
std::string ResolveLinks(const char* path) {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(path, nullptr), &std::free);
  return real ? real.get() : path;
}

}  // namespace

std::optional<std::string> ReadFile(const char* path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  std::ostringstream content;
  content << file.rdbuf();  // unlike an iterator, throws nothing when the disk fails
  return content.str();
}

void ReplaceFile(const char* path, const std::string& content) {
  struct stat old {};
  const FileDescriptor existing(path, O_WRONLY | O_NONBLOCK);
  if (!existing && errno != ENOENT) return;
  const bool replaceable = existing ? fstat(existing.get(), &old) == 0 && S_ISREG(old.st_mode)
                                    : lstat(path, &old) != 0;  // no dangling link
  if (!replaceable || !ReplaceByTempFile(ResolveLinks(path), existing ? &old : nullptr, content)) {
    FileDescriptor file(path, O_WRONLY | O_CREAT | O_TRUNC, kNewFileMode);
    if (file) static_cast<void>(file.WriteAll(content));
  }
}

}  // namespace saltmoor::quire
