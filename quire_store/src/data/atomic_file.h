#ifndef QUIRE_ATOMIC_FILE_H_
#define QUIRE_ATOMIC_FILE_H_

#include <sys/stat.h>

#include <optional>
#include <string>

namespace saltmoor::quire {

/// Identifies a file with the content that one write gave it.
struct FileVersion {
  explicit FileVersion(const struct stat& status)
      : inode(status.st_ino), size(status.st_size), modified(status.st_mtim) {}

  bool operator==(const FileVersion& other) const {
    return inode == other.inode && size == other.size && modified.tv_sec == other.modified.tv_sec &&
           modified.tv_nsec == other.modified.tv_nsec;
  }

  ino_t inode;
  off_t size;
  timespec modified;
};

/// The version of the file at `path`; nothing when there is none.
std::optional<FileVersion> GetFileVersion(const std::string& path);

/// The content of a regular file of at most 64 MiB, as far as it can be read; empty when it cannot
/// be opened. Does not block. A file that exists and cannot be read completely counts as damaged.
std::string ReadFile(const std::string& path);

/// Marks the file at `path`, as it is now, as damaged: before ReplaceFile replaces it, it renames
/// it to PATH.bad, in place of an older one of that name. Thread-safe.
void MarkDamaged(const std::string& path);

/// How ReplaceFile ended.
struct ReplaceResult {
  int error = 0;                       ///< errno; 0 on success
  std::optional<FileVersion> version;  ///< of the new file, on success
};

/// Replaces a file's content so that a crash or a power cut leaves either the old content or the
/// new one, complete, and a failure the old one: writes a temporary file, PATH.new, syncs it and
/// renames it. Writes in place only if the directory forbids that, and then restores the old
/// content on failure. Waits at most half a second for other programs. Thread-safe.
ReplaceResult ReplaceFile(const std::string& path, const std::string& content);

}  // namespace saltmoor::quire

#endif  // QUIRE_ATOMIC_FILE_H_
