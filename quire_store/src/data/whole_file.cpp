#include "whole_file.h"

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

class Descriptor {
 public:
  Descriptor(const std::string& path, int flags, mode_t mode = 0)
      : fd_(open(path.c_str(), flags | O_CLOEXEC, mode)) {}
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

enum class Outcome {
  kDone,
  kOldContentStands,
  kNoNeighbour,  // none can be made here, or none can take the file's place
};

// Gives the neighbour what the file had, and what a rename would lose.
bool TakeAfter(const struct stat& old, int fd) {
  const bool foreign = old.st_uid != geteuid() || old.st_gid != getegid();
  return (!foreign || fchown(fd, old.st_uid, old.st_gid) == 0) &&
         fchmod(fd, old.st_mode & 07777) == 0;
}

Outcome ReplaceByNeighbour(const std::string& path, const struct stat* old,
                           const std::string& content) {
  const Descriptor folder(path.substr(0, path.rfind('/') + 1), O_RDONLY | O_DIRECTORY);
  // Two programs that save at once must not write one neighbour. Where folders cannot be locked
  // they are on their own.
  if (folder) flock(folder.get(), LOCK_EX);

  const std::string neighbour = path + ".new";
  unlink(neighbour.c_str());  // what a crash may have left
  Descriptor file(neighbour, O_WRONLY | O_CREAT | O_EXCL, kNewFileMode);
  if (!file) {
    const bool full = errno == ENOSPC || errno == EDQUOT;
    return full ? Outcome::kOldContentStands : Outcome::kNoNeighbour;
  }
  const bool alike = old == nullptr || TakeAfter(*old, file.get());
  const bool written = alike && file.Fill(content);
  if (!written || rename(neighbour.c_str(), path.c_str()) != 0) {
    unlink(neighbour.c_str());
    return alike && !written ? Outcome::kOldContentStands : Outcome::kNoNeighbour;
  }
  if (folder) static_cast<void>(fsync(folder.get()));  // not every file system can
  return Outcome::kDone;
}

void WriteInPlace(const char* path, const std::string& content) {
  Descriptor file(path, O_WRONLY | O_CREAT | O_TRUNC, kNewFileMode);
  if (file) static_cast<void>(file.Fill(content));
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

void ReplaceWholeFile(const char* path, const std::string& content) {
  struct stat old {};
  const Descriptor existing(path, O_WRONLY | O_NONBLOCK);
  if (!existing && errno != ENOENT) return;
  const bool replaceable = existing ? fstat(existing.get(), &old) == 0 && S_ISREG(old.st_mode)
                                    : lstat(path, &old) != 0;  // else a link to nothing
  if (!replaceable || ReplaceByNeighbour(Resolved(path), existing ? &old : nullptr, content) ==
                          Outcome::kNoNeighbour) {
    WriteInPlace(path, content);
  }
}

}  // namespace saltmoor::quire
