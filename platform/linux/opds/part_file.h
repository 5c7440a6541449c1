#ifndef PLATFORM_LINUX_OPDS_PART_FILE_H_
#define PLATFORM_LINUX_OPDS_PART_FILE_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/linux/common/error.h"
#include "platform/linux/common/unique_fd.h"

namespace saltmoor::platform {

/// The version of the file that a part file belongs to. A part file is resumed only if the server
/// still has that version.
struct PartRecord {
  std::string url;
  std::string validator;         ///< a strong ETag or a date; if empty, not resumable
  std::string content_type;      ///< as received
  std::int64_t total_bytes = 0;  ///< of the whole file; 0 if unknown
};

/// A file that is being downloaded: its bytes in `NAME.part` and its record in `NAME.part.info`, in
/// the directory of the final `NAME`. NAME is truncated if it is too long, in the first two beyond
/// 200 bytes. Locked against other processes; not thread-safe.
class PartFile {
 public:
  /// \param name  without a directory.
  PartFile(std::string directory, const std::string& name);

  /// Opens and locks the part file. Creates the directory, mode 0700, if it is missing. Truncates a
  /// part file of another URL or without a valid record.
  Error Open(const std::string& url);

  /// Truncates the part file and writes the record of the version that follows.
  Error Restart(const PartRecord& record);
  Error Append(std::string_view bytes);
  /// Syncs the bytes to the disk and records their number. Open discards bytes beyond it.
  Error Sync();
  /// Syncs the file and renames it to its final name.
  Error Finish();
  /// Adds an extension such as ".epub" to the final name.
  void AppendToName(const std::string& extension);
  /// Deletes the part file and its record.
  void Discard();

  std::int64_t size_bytes() const { return size_bytes_; }
  bool synced() const { return synced_bytes_ == size_bytes_; }
  const PartRecord& record() const { return record_; }
  /// The final name, truncated if necessary, and the full path.
  const std::string& name() const { return name_; }
  std::string path() const { return directory_ + "/" + name_; }
  /// The free bytes of the file system, less a reserve for what the device itself saves.
  std::int64_t AvailableBytes() const;

 private:
  std::string part_path() const { return directory_ + "/" + stem_ + ".part"; }
  std::string info_path() const { return part_path() + ".info"; }
  Error OpenPart();
  Error Truncate(std::int64_t size_bytes);
  bool ReadRecord(const std::string& url);
  Error WriteRecord();

  std::string directory_;
  std::string name_;
  std::string stem_;  // of the names of the part file and its record
  UniqueFd part_;
  PartRecord record_;
  std::int64_t size_bytes_ = 0;
  std::int64_t synced_bytes_ = 0;
};

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_OPDS_PART_FILE_H_
