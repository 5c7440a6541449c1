#include "platform/linux/opds/part_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/linux/common/atomic_file.h"
#include "platform/linux/common/log.h"
#include "platform/linux/common/strings.h"

namespace saltmoor::platform {
namespace {

constexpr std::int64_t kReserve_bytes = 1 << 20;
constexpr std::size_t kMaxName_bytes = 255;
constexpr std::size_t kLongestNameUnderProot_bytes = 254;
constexpr std::size_t kMaxExtension_bytes = 16;
constexpr std::size_t kMaxInfo_bytes = 64 << 10;
// The longest of the names beside the file: its record while it is being replaced.
constexpr std::size_t kMaxSuffix_bytes = sizeof ".part.info.new" - 1;

/// Cuts a name in front of its extension and between two characters.
std::string TruncateName(const std::string& name, std::size_t limit_bytes) {
  if (name.size() <= limit_bytes) return name;
  const std::size_t dot = name.rfind('.');
  const bool has_extension = dot != std::string::npos && dot > 0 &&
                             name.size() - dot <= std::min(kMaxExtension_bytes, limit_bytes);
  const std::string extension = has_extension ? name.substr(dot) : "";
  std::size_t end = limit_bytes - extension.size();
  while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xc0) == 0x80) --end;
  return name.substr(0, end) + extension;
}

bool ParseSize(const std::string& text, std::int64_t* size) {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, *size);
  return error == std::errc() && stop == end && *size >= 0;
}

bool IsUnsupported(int error_number) {
  return error_number == EINVAL || error_number == ENOTSUP || error_number == ENOLCK;
}

}  // namespace

PartFile::PartFile(std::string folder, const std::string& name)
    : folder_(std::move(folder)),
      name_(TruncateName(name, kMaxName_bytes)),
      stem_(TruncateName(name, kLongestNameUnderProot_bytes - kMaxSuffix_bytes)) {}

Error PartFile::Open(const std::string& address) {
  std::error_code failure;
  std::filesystem::create_directories(folder_, failure);
  if (failure) return Error::System(failure.value(), "cannot make the folder " + folder_);
  if (Error error = OpenPart()) return error;
  return Truncate(ReadRecord(address) ? std::min(size_bytes_, synced_bytes_) : 0);
}

Error PartFile::OpenPart() {
  const std::string path = part_path();
  for (int tries = 0; tries < 3; ++tries) {
    part_ =
        UniqueFd(open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0644));
    if (!part_ && errno != ELOOP) return Error::System(errno, "cannot open " + path);

    struct stat opened {};
    if (part_ && fstat(part_.get(), &opened) != 0) {
      return Error::System(errno, "cannot examine " + path);
    }
    if (!part_ || opened.st_nlink > 1) {  // a link to a file that is not ours to write
      if (unlink(path.c_str()) != 0) return Error::System(errno, "cannot delete the link " + path);
      continue;
    }
    if (!S_ISREG(opened.st_mode))
      return Error::InvalidData(path + " is not a plain file: delete it");
    if (flock(part_.get(), LOCK_EX | LOCK_NB) != 0 && !IsUnsupported(errno)) {
      return Error::System(errno, "another download is writing " + path);
    }
    // Between opening and locking another process may have given the file its name.
    struct stat named {};
    if (lstat(path.c_str(), &named) == 0 && named.st_ino == opened.st_ino) {
      size_bytes_ = opened.st_size;
      return {};
    }
  }
  return Error::InvalidData("cannot open " + path + ": other programs keep replacing it");
}

bool PartFile::ReadRecord(const std::string& address) {
  std::string text;
  if (ReadFile(info_path(), kMaxInfo_bytes, &text)) return false;
  const std::vector<std::string> lines = Split(text, '\n');
  std::int64_t total_bytes = 0;
  if (lines.size() != 6 || !lines[5].empty() || lines[0] != address || lines[1].empty() ||
      !ParseSize(lines[3], &total_bytes) || !ParseSize(lines[4], &synced_bytes_)) {
    return false;
  }
  record_ = {lines[0], lines[1], lines[2], total_bytes};
  return true;
}

Error PartFile::WriteRecord() {
  return ReplaceFile(info_path(), record_.address + '\n' + record_.validator + '\n' +
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
  // The old version must be gone from the disk before the record names the new one.
  if (Error error = Truncate(0)) return error;
  if (fsync(part_.get()) != 0) return Error::System(errno, "cannot write to disk " + part_path());
  record_ = record;
  return WriteRecord();
}

Error PartFile::Append(const char* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t written = pwrite(part_.get(), bytes, size, size_bytes_);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      return Error::System(written == 0 ? EIO : errno, "cannot write " + part_path());
    }
    bytes += written;
    size -= static_cast<std::size_t>(written);
    size_bytes_ += written;
  }
  return {};
}

Error PartFile::Sync() {
  if (fdatasync(part_.get()) != 0) {
    return Error::System(errno, "cannot write to disk " + part_path());
  }
  synced_bytes_ = size_bytes_;
  return WriteRecord();
}

Error PartFile::Finish() {
  if (fsync(part_.get()) != 0) return Error::System(errno, "cannot write to disk " + part_path());
  if (rename(part_path().c_str(), path().c_str()) != 0) {
    if (errno == ENAMETOOLONG && name_.size() > kLongestNameUnderProot_bytes) {
      name_ = TruncateName(name_, kLongestNameUnderProot_bytes);
      return Finish();
    }
    return Error::System(errno, "cannot give " + part_path() + " the name " + path());
  }
  unlink(info_path().c_str());
  const UniqueFd folder(open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  // The file is there, so this is no failure. Memory cards have file systems that cannot sync a
  // folder.
  if (!folder || (fsync(folder.get()) != 0 && !IsUnsupported(errno))) {
    Log(LogLevel::kWarning,
        Error::System(errno, "cannot write to disk the folder " + folder_).message());
  }
  return {};
}

void PartFile::Discard() {
  unlink(part_path().c_str());
  unlink(info_path().c_str());
  size_bytes_ = synced_bytes_ = 0;
}

std::int64_t PartFile::AvailableBytes() const {
  struct statvfs space {};
  if (statvfs(folder_.c_str(), &space) != 0) return 0;
  return static_cast<std::int64_t>(space.f_bavail) * static_cast<std::int64_t>(space.f_frsize) -
         kReserve_bytes;
}

}  // namespace saltmoor::platform
