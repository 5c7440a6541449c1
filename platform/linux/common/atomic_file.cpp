#include "platform/linux/common/atomic_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <thread>

#include "platform/linux/common/log.h"

namespace saltmoor::platform {
namespace {

constexpr std::chrono::milliseconds kPollInterval{1};

Error WriteTempFile(const std::string& path, std::string_view content) {
  UniqueFd file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file) {
    const char* const hint = errno == EEXIST ? " (another program is writing, or was killed while "
                                               "it was: delete the file if none is)"
                                             : "";
    return Error::System(errno, "cannot create " + path + hint);
  }
  if (Error error = WriteAll(file.get(), content, path)) return error;

  struct stat status;
  if (fstat(file.get(), &status) != 0) return Error::System(errno, "cannot examine " + path);
  if (status.st_size != static_cast<off_t>(content.size())) {
    return Error::InvalidData("cannot write " + path + ": its size differs from what was written");
  }
  if (fsync(file.get()) != 0) return Error::System(errno, "cannot sync " + path);
  if (close(file.Release()) != 0) return Error::System(errno, "cannot close " + path);
  return {};
}

/// Replaces the file. The caller has the lock, unless it timed out.
Error WriteLocked(const DirectoryLock& lock, const std::string& path, std::string_view content,
                  bool keep_existing) {
  if (path.empty()) return Error::System(ENOENT, "cannot write a file without a name");
  if (lock.error()) return lock.error();

  // All writers use one name, so that killed ones leave at most one file, and O_EXCL excludes other
  // writers even without the lock.
  const std::string temp_path = path + ".new";
  if (lock.held()) unlink(temp_path.c_str());

  Error error = WriteTempFile(temp_path, content);
  if (error.IsSystem(EEXIST)) return error;
  if (!error && keep_existing && access(path.c_str(), F_OK) == 0) {
    error = Error::System(EEXIST, "cannot create " + path);
  } else if (!error && rename(temp_path.c_str(), path.c_str()) != 0) {
    error = Error::System(errno, "cannot replace " + path);
  }
  if (error) {
    unlink(temp_path.c_str());
    return error;
  }
  return SyncDirectory(lock.directory().get(), path);
}

/// Calls `load` under the lock. Another process may have replaced a damaged file before.
/// \return what `load` returns; ENOENT after a damaged file was renamed.
Error LoadLocked(const std::string& path, const std::function<Error()>& load) {
  Error fault = load();
  if (fault.kind() != Error::Kind::kInvalidData) return fault;
  const std::string bad_path = path + ".bad";
  if (std::rename(path.c_str(), bad_path.c_str()) != 0) {
    return Error::System(errno, fault.message() + "; cannot move it to " + bad_path);
  }
  Log(LogLevel::kError, fault.message() + "; moved to " + bad_path);
  return Error::System(ENOENT, path);
}

}  // namespace

DirectoryLock::DirectoryLock(const std::string& path)
    : directory_(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
  if (!directory_) {
    error_ = Error::System(errno, "cannot open the directory " + path);
    return;
  }
  const auto end = std::chrono::steady_clock::now() + kTimeout;
  while (flock(directory_.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno == EINTR) continue;
    if (errno != EWOULDBLOCK) return;
    if (std::chrono::steady_clock::now() >= end) {
      Log(LogLevel::kError, "another program locks the directory " + path + "; not waiting for it");
      return;
    }
    std::this_thread::sleep_for(kPollInterval);
  }
  held_ = true;
}

Error ReplaceFile(const std::string& path, std::string_view content) {
  return WriteLocked(DirectoryLock(GetDirectoryName(path)), path, content, false);
}

Error UpdateFile(const std::string& path, const std::function<Error()>& load,
                 const std::function<std::string()>& content) {
  const DirectoryLock lock(GetDirectoryName(path));
  if (Error error = LoadLocked(path, load); error && !error.IsSystem(ENOENT)) return error;
  return WriteLocked(lock, path, content(), false);
}

Error LoadOrCreateFile(const std::string& path, const std::function<Error()>& load,
                       const std::function<std::string_view()>& initial) {
  Error error = load();
  if (error.kind() != Error::Kind::kInvalidData && !error.IsSystem(ENOENT)) return error;
  const DirectoryLock lock(GetDirectoryName(path));
  error = LoadLocked(path, load);
  if (!error.IsSystem(ENOENT)) return error;
  error = WriteLocked(lock, path, initial(), true);
  return !error || error.IsSystem(EEXIST) ? load() : error;
}

Error ReadFile(const std::string& path, std::size_t max_bytes, std::string* content) {
  // O_NONBLOCK: opening a pipe must not block.
  const UniqueFd file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!file) return Error::System(errno, "cannot open " + path);
  struct stat status;
  if (fstat(file.get(), &status) != 0) return Error::System(errno, "cannot examine " + path);
  if (!S_ISREG(status.st_mode)) {
    return Error::System(S_ISDIR(status.st_mode) ? EISDIR : ENOTSUP, "cannot read " + path);
  }

  content->clear();
  char block[1 << 14];
  for (;;) {
    const ssize_t got = read(file.get(), block, sizeof block);
    if (got == 0) return {};
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return Error::System(errno, "cannot read " + path);
    content->append(block, static_cast<std::size_t>(got));
    if (content->size() > max_bytes) {
      return Error::InvalidData("cannot read " + path + ": it is larger than " +
                                std::to_string(max_bytes) + " bytes");
    }
  }
}

Error WriteAll(int fd, std::string_view content, const std::string& path) {
  while (!content.empty()) {
    const ssize_t written = write(fd, content.data(), content.size());
    if (written > 0) {
      content.remove_prefix(static_cast<std::size_t>(written));
    } else if (written == 0 || errno != EINTR) {
      return Error::System(written == 0 ? EIO : errno, "cannot write " + path);
    }
  }
  return {};
}

Error SyncDirectory(int directory_fd, const std::string& path) {
  // Some file systems of memory cards cannot sync a directory.
  if (fsync(directory_fd) == 0 || errno == EINVAL || errno == ENOTSUP) return {};
  return Error::System(errno, "cannot sync the directory of " + path);
}

std::string GetDirectoryName(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace saltmoor::platform
