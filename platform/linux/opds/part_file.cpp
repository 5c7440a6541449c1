#include "platform/linux/opds/part_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include "platform/linux/common/atomic_file.h"
#include "platform/linux/common/log.h"
#include "platform/linux/common/strings.h"

namespace saltmoor::platform {
namespace {

constexpr std::int64_t kReserve_bytes = 1 << 20;
constexpr std::size_t kMaxName_bytes = 255;
// Some file systems allow a little less than kMaxName_bytes. A name that must be truncated anyway
// stays below that, and the names of the part file and its record do with all their suffixes.
constexpr std::size_t kTruncatedName_bytes = 250;
constexpr std::size_t kMaxStem_bytes = 200;
constexpr std::size_t kMaxExtension_bytes = 16;
constexpr std::size_t kMaxInfo_bytes = 64 << 10;

/// Truncates a name before its extension and between two UTF-8 characters.
std::string TruncateName(const std::string& name, std::size_t max_bytes) {
  if (name.size() <= max_bytes) return name;
  const std::size_t dot = name.rfind('.');
  const bool has_extension =
      dot != std::string::npos && dot > 0 && name.size() - dot <= kMaxExtension_bytes;
  const std::string extension = has_extension ? name.substr(dot) : "";
  std::size_t end = max_bytes - extension.size();
  while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xc0) == 0x80) --end;
  return name.substr(0, end) + extension;
}

bool IsUnsupported(int error_number) {
  return error_number == EINVAL || error_number == ENOTSUP || error_number == ENOLCK;
}

/// Creates a directory and its missing parents, for their owner only.
Error CreateDirectories(const std::string& path) {
  if (mkdir(path.c_str(), 0700) == 0 || errno == EEXIST) return {};
  const std::string parent = GetDirectoryName(path);
  if (errno == ENOENT && parent.size() < path.size()) {
    if (Error error = CreateDirectories(parent)) return error;
    if (mkdir(path.c_str(), 0700) == 0 || errno == EEXIST) return {};
  }
  return Error::System(errno, "cannot create the directory " + path);
}

}  // namespace

PartFile::PartFile(std::string directory, const std::string& name)
    : directory_(std::move(directory)),
      name_(name.size() > kMaxName_bytes ? TruncateName(name, kTruncatedName_bytes) : name),
      stem_(TruncateName(name, kMaxStem_bytes)) {}

Error PartFile::Open(const std::string& url) {
  if (Error error = CreateDirectories(directory_)) return error;
  if (Error error = OpenPart()) return error;
  return Truncate(ReadRecord(url) ? std::min(size_bytes_, synced_bytes_) : 0);
}

Error PartFile::OpenPart() {
  const std::string path = part_path();
  for (int tries = 0; tries < 3; ++tries) {
    part_ = UniqueFd(open(path.c_str(),
                          O_RDWR | O_CREAT | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
    if (!part_ && errno != ELOOP) return Error::System(errno, "cannot open " + path);

    struct stat opened {};
    if (part_ && fstat(part_.get(), &opened) != 0) {
      return Error::System(errno, "cannot examine " + path);
    }
    if (!part_ || opened.st_nlink > 1) {  // a link to another file
      if (unlink(path.c_str()) != 0) return Error::System(errno, "cannot delete the link " + path);
      continue;
    }
    if (!S_ISREG(opened.st_mode))
      return Error::InvalidData(path + " is not a plain file: delete it");
    if (flock(part_.get(), LOCK_EX | LOCK_NB) != 0 && !IsUnsupported(errno)) {
      return Error::System(errno, "another download is writing " + path);
    }
    // Between open and flock another process may have renamed the file.
    struct stat named {};
    if (lstat(path.c_str(), &named) == 0 && named.st_ino == opened.st_ino) {
      size_bytes_ = opened.st_size;
      return {};
    }
  }
  return Error::InvalidData("cannot open " + path + ": other programs keep replacing it");
}

bool PartFile::ReadRecord(const std::string& url) {
  std::string text;
  if (ReadFile(info_path(), kMaxInfo_bytes, &text)) return false;
  const std::vector<std::string> lines = Split(text, '\n');
  std::int64_t total_bytes = 0;
  if (lines.size() != 6 || !lines[5].empty() || lines[0] != url || lines[1].empty() ||
      !ParseNumber(lines[3], &total_bytes) || !ParseNumber(lines[4], &synced_bytes_) ||
      total_bytes < 0 || synced_bytes_ < 0) {
    return false;
  }
  record_ = {lines[0], lines[1], lines[2], total_bytes};
  return true;
}

Error PartFile::WriteRecord() {
  return ReplaceFile(info_path(), record_.url + '\n' + record_.validator + '\n' +
                                      record_.content_type + '\n' +
                                      std::to_string(record_.total_bytes) + '\n' +
                                      std::to_string(synced_bytes_) + '\n');
}

Error PartFile::Truncate(std::int64_t size_bytes) {
  if (ftruncate(part_.get(), size_bytes) != 0) {
    return Error::System(errno, "cannot cut " + part_path());
  }
  size_bytes_ = synced_bytes_ = size_bytes;
  return {};
}

Error PartFile::Restart(const PartRecord& record) {
  // The old version must be off the disk before the record names the new one.
  if (Error error = Truncate(0)) return error;
  if (fsync(part_.get()) != 0) return Error::System(errno, "cannot sync " + part_path());
  record_ = record;
  return WriteRecord();
}

Error PartFile::Append(std::string_view bytes) {
  if (Error error = WriteAll(part_.get(), bytes, part_path())) return error;
  size_bytes_ += static_cast<std::int64_t>(bytes.size());
  return {};
}

Error PartFile::Sync() {
  if (fdatasync(part_.get()) != 0) return Error::System(errno, "cannot sync " + part_path());
  synced_bytes_ = size_bytes_;
  return WriteRecord();
}

Error PartFile::Finish() {
  if (fsync(part_.get()) != 0) return Error::System(errno, "cannot sync " + part_path());
  if (rename(part_path().c_str(), path().c_str()) != 0) {
    return Error::System(errno, "cannot rename " + part_path() + " to " + path());
  }
  unlink(info_path().c_str());
  // The file exists under its name, so a failure here is only logged.
  const UniqueFd directory(open(directory_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (Error error = SyncDirectory(directory.get(), path())) {
    Log(LogLevel::kWarning, error.message());
  }
  return {};
}

void PartFile::AppendToName(const std::string& extension) {
  name_ += extension;
  if (name_.size() > kMaxName_bytes) name_ = TruncateName(name_, kTruncatedName_bytes);
}

void PartFile::Discard() {
  unlink(part_path().c_str());
  unlink(info_path().c_str());
  size_bytes_ = synced_bytes_ = 0;
}

std::int64_t PartFile::AvailableBytes() const {
  struct statvfs space {};
  if (statvfs(directory_.c_str(), &space) != 0) return 0;
  return static_cast<std::int64_t>(space.f_bavail) * static_cast<std::int64_t>(space.f_frsize) -
         kReserve_bytes;
}

}  // namespace saltmoor::platform
