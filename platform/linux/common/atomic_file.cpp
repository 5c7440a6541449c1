#include "platform/linux/common/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "platform/linux/common/directory_lock.h"

namespace saltmoor::platform {
namespace {

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

/// Writes `content` to a new file and sees it onto the disk.
Error WriteTempFile(const std::string& path, std::string_view content) {
  UniqueFd file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file) {
    const std::string mend = errno == EEXIST
                                 ? " (another program is writing, or one has died while it was: "
                                   "delete the file if none is)"
                                 : "";
    return Error::System(errno, "cannot create " + path + mend);
  }
  if (Error error = WriteAll(file.get(), content, path)) return error;

  struct stat status;
  if (fstat(file.get(), &status) != 0) return Error::System(errno, "cannot examine " + path);
  if (status.st_size != static_cast<off_t>(content.size())) {
    return Error::InvalidData("cannot write " + path +
                              ": it has a length other than what was written");
  }
  if (fsync(file.get()) != 0) return Error::System(errno, "cannot write to the disk: " + path);
  if (close(file.Release()) != 0) return Error::System(errno, "cannot close " + path);
  return {};
}

/// Sees a rename onto the disk. Memory cards have file systems that cannot sync a folder.
Error SyncDirectory(int folder, const std::string& path) {
  if (fsync(folder) == 0 || errno == EINVAL || errno == ENOTSUP) return {};
  return Error::System(errno, "cannot write to the disk: the folder of " + path);
}

Error Write(const std::string& path, std::string_view content, bool keep_existing) {
  if (path.empty()) return Error::System(ENOENT, "cannot write a file without a name");
  const DirectoryLock lock(DirectoryOf(path));
  if (!lock.folder()) return Error::System(errno, "cannot open the folder of " + path);

  // The name is the same for all writers, so that what a killed one left does not pile up, and
  // creating the file excludes other writers even where the folder cannot be locked.
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
  return SyncDirectory(lock.folder().get(), path);
}

}  // namespace

Error ReplaceFile(const std::string& path, std::string_view content) {
  return Write(path, content, false);
}

Error CreateFile(const std::string& path, std::string_view content) {
  return Write(path, content, true);
}

Error ReadFile(const std::string& path, std::size_t max_bytes, std::string* content) {
  // Not to wait for ever where the path names a pipe.
  const UniqueFd file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!file) return Error::System(errno, "cannot open " + path);
  struct stat status;
  if (fstat(file.get(), &status) != 0) return Error::System(errno, "cannot examine " + path);
  if (S_ISDIR(status.st_mode)) return Error::System(EISDIR, "cannot read " + path);
  if (!S_ISREG(status.st_mode)) return Error::System(ENOTSUP, "cannot read " + path);

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

std::string DirectoryOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace saltmoor::platform
