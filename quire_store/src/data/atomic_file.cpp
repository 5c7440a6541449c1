#include "atomic_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace saltmoor::quire {
namespace {

// The cart holds the session id: a new file is for its owner alone.
constexpr mode_t kNewFileMode = S_IRUSR | S_IWUSR;
constexpr std::size_t kMaxSize_bytes = std::size_t{64} << 20;
constexpr std::chrono::milliseconds kMaxLockWait{500};

bool IsUnsupported(int error) {
  return error == EINVAL || error == ENOTSUP;
}

class FileDescriptor {
 public:
  // Never blocks: the path may be that of a pipe.
  FileDescriptor(const std::string& path, int flags)
      : fd_(open(path.c_str(), flags | O_NONBLOCK | O_CLOEXEC, kNewFileMode)) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() { Close(); }

  explicit operator bool() const { return fd_ >= 0; }
  int get() const { return fd_; }

  bool Close() {
    const int fd = std::exchange(fd_, -1);
    return fd < 0 || close(fd) == 0;
  }

  bool Write(const std::string& content) {
    const char* next = content.data();
    for (std::size_t left = content.size(); left > 0;) {
      const ssize_t written = write(fd_, next, left);
      if (written < 0 && errno == EINTR) continue;
      if (written == 0) errno = EIO;
      if (written <= 0) return false;
      next += written;
      left -= static_cast<std::size_t>(written);
    }
    return true;
  }

  // Some file systems cannot sync a directory.
  bool Sync() { return fsync(fd_) == 0 || IsUnsupported(errno); }

  std::optional<FileVersion> GetVersion() const {
    struct stat status {};
    return fstat(fd_, &status) == 0 ? std::optional<FileVersion>(status) : std::nullopt;
  }

 private:
  int fd_;
};

class DamagedFiles {
 public:
  static DamagedFiles& Instance() {
    static DamagedFiles files;
    return files;
  }

  void Set(const std::string& path, std::optional<FileVersion> version) {
    const std::lock_guard<std::mutex> lock(mutex_);
    versions_.insert_or_assign(path, version);
  }

  bool Contains(const std::string& path, const FileVersion& version) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto entry = versions_.find(path);
    return entry != versions_.end() && entry->second == version;
  }

 private:
  std::mutex mutex_;
  std::map<std::string, std::optional<FileVersion>> versions_;
};

// Waits for other programs that replace files here, but not for one that only holds the lock, as
// everyone can who may read the directory.
// \return false after the timeout.
bool Lock(int directory) {
  const auto end = std::chrono::steady_clock::now() + kMaxLockWait;
  while (flock(directory, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EINTR) continue;
    if (errno != EWOULDBLOCK) break;  // no lock here
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

bool CopyOwnerAndMode(const struct stat& old, int fd) {
  const bool foreign = old.st_uid != geteuid() || old.st_gid != getegid();
  return (!foreign || fchown(fd, old.st_uid, old.st_gid) == 0) &&
         fchmod(fd, old.st_mode & 07777) == 0;
}

// Keeps the file under its name too, until it is replaced, if the file system can.
bool MoveAside(const std::string& path) {
  const std::string bad = path + ".bad";
  unlink(bad.c_str());
  return link(path.c_str(), bad.c_str()) == 0 || rename(path.c_str(), bad.c_str()) == 0;
}

// \param old  the file to replace; null when there is none.
ReplaceResult ReplaceByTempFile(const std::string& path, const struct stat* old,
                                const std::string& content) {
  FileDescriptor directory(path.substr(0, path.rfind('/') + 1), O_RDONLY | O_DIRECTORY);
  const std::string temp_file = path + ".new";
  // Without the lock, O_EXCL excludes other writers.
  if (Lock(directory.get())) unlink(temp_file.c_str());  // a crash may have left one
  FileDescriptor file(temp_file, O_WRONLY | O_CREAT | O_EXCL);
  if (!file) return {errno, {}};
  const auto version = [&]() -> std::optional<FileVersion> {
    if (old != nullptr && !CopyOwnerAndMode(*old, file.get())) return {};
    if (!file.Write(content) || !file.Sync()) return {};
    auto written = file.GetVersion();
    if (!file.Close()) return {};
    const bool damaged =
        old != nullptr && DamagedFiles::Instance().Contains(path, FileVersion(*old));
    if (damaged && !MoveAside(path)) return {};
    if (rename(temp_file.c_str(), path.c_str()) != 0) return {};
    return written;
  }();
  if (!version) {
    const int error = errno;
    unlink(temp_file.c_str());
    return {error, {}};
  }
  if (directory && !directory.Sync()) return {errno, {}};
  return {0, version};
}

// \return whether the directory lets no temporary file replace the file. A mount point is busy.
bool ForbidsReplacing(int error) {
  return error == EACCES || error == EPERM || error == EROFS || error == EBUSY;
}

// Reads a regular file, as far as possible.
// \return errno; 0 when all has been read.
int Read(const std::string& path, std::string& content) {
  const FileDescriptor file(path, O_RDONLY);
  struct stat status {};
  if (!file || fstat(file.get(), &status) != 0) return errno;
  if (!S_ISREG(status.st_mode)) return ENOTSUP;
  char block[1 << 14];
  while (content.size() <= kMaxSize_bytes) {
    const ssize_t got = read(file.get(), block, sizeof block);
    if (got == 0) return 0;
    if (got < 0 && errno != EINTR) return errno;
    if (got > 0) content.append(block, static_cast<std::size_t>(got));
  }
  return EFBIG;
}

ReplaceResult WriteInPlace(const std::string& path, const std::string& content) {
  std::string old_content;
  if (const int error = Read(path, old_content); error != 0 && error != ENOENT) return {error, {}};
  FileDescriptor file(path, O_WRONLY | O_CREAT);
  if (!file) return {errno, {}};
  const auto write = [&file](const std::string& bytes) {
    lseek(file.get(), 0, SEEK_SET);
    const auto size = static_cast<off_t>(bytes.size());
    return file.Write(bytes) && ftruncate(file.get(), size) == 0 && file.Sync();
  };
  if (write(content)) return {0, file.GetVersion()};
  const int error = errno;
  write(old_content);
  return {error, {}};
}

// Without this a rename would replace a symbolic link instead of the file that it points to.
std::string ResolveLinks(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                         &std::free);
  return real ? real.get() : path;
}

}  // namespace

std::optional<FileVersion> GetFileVersion(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? std::optional<FileVersion>(status) : std::nullopt;
}

std::string ReadFile(const std::string& path) {
  DamagedFiles::Instance().Set(ResolveLinks(path), std::nullopt);
  std::string content;
  if (Read(path, content) != 0) MarkDamaged(path);
  return content;
}

void MarkDamaged(const std::string& path) {
  const auto version = GetFileVersion(path);
  if (version && version->size > 0) DamagedFiles::Instance().Set(ResolveLinks(path), version);
}

ReplaceResult ReplaceFile(const std::string& path, const std::string& content) {
  struct stat old {};
  const FileDescriptor existing(path, O_WRONLY);
  if (!existing && errno != ENOENT) return {errno, {}};
  const bool replaceable = existing ? fstat(existing.get(), &old) == 0 && S_ISREG(old.st_mode)
                                    : lstat(path.c_str(), &old) != 0;  // no dangling link
  if (!replaceable) return WriteInPlace(path, content);
  const ReplaceResult result =
      ReplaceByTempFile(ResolveLinks(path), existing ? &old : nullptr, content);
  return ForbidsReplacing(result.error) ? WriteInPlace(path, content) : result;
}

}  // namespace saltmoor::quire
