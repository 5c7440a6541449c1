#ifndef PLATFORM_LINUX_OPDS_PART_FILE_H_
#define PLATFORM_LINUX_OPDS_PART_FILE_H_

#include <cstdint>
#include <string>

#include "platform/linux/common/error.h"
#include "platform/linux/common/unique_fd.h"

namespace saltmoor::platform {

/// Which version of which file a part was begun with. A part is only ever gone on with when the
/// server still has that version.
struct PartRecord {
  std::string address;
  std::string validator;         ///< a strong ETag, else a date; empty: there is no going on
  std::string content_type;      ///< as the server sent it
  std::int64_t total_bytes = 0;  ///< of the whole file; 0 when unknown
};

/// A file on its way: its bytes in `NAME.part` and its record in `NAME.part.info`, both in the
/// folder where it is going to be `NAME`. One process and one thread writes it at a time. The two
/// are cut where NAME is so long that it leaves no room for what follows it there.
class PartFile {
 public:
  /// \param name  without a folder; cut where it is longer than the file system allows.
  PartFile(std::string folder, const std::string& name);

  /// Makes the folder where it is missing, opens the part and locks it. A part that does not belong
  /// to `address` or cannot be gone on with is emptied.
  Error Open(const std::string& address);

  /// Empties the part and writes the record of the version that is to come.
  Error Restart(const PartRecord& record);
  Error Append(const char* bytes, std::size_t size);
  /// Sees the bytes onto the disk and notes how many. After a power cut only those count.
  Error Sync();
  /// Gives the file its name, once it is on the disk, whole.
  Error Finish();
  /// Deletes the part and its record.
  void Discard();

  std::int64_t size_bytes() const { return size_bytes_; }
  bool synced() const { return synced_bytes_ == size_bytes_; }
  const PartRecord& record() const { return record_; }
  /// The name as cut, and the full path of the file that it names.
  const std::string& name() const { return name_; }
  std::string path() const { return folder_ + "/" + name_; }
  /// Bytes that the file system has room for, less a reserve for what the device itself must save.
  std::int64_t AvailableBytes() const;

 private:
  std::string part_path() const { return folder_ + "/" + stem_ + ".part"; }
  std::string info_path() const { return part_path() + ".info"; }
  Error OpenPart();
  Error Truncate(std::int64_t size_bytes);
  bool ReadRecord(const std::string& address);
  Error WriteRecord();

  std::string folder_;
  std::string name_;
  std::string stem_;  // what the part and its record are called by
  UniqueFd part_;
  PartRecord record_;
  std::int64_t size_bytes_ = 0;
  std::int64_t synced_bytes_ = 0;
};

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_OPDS_PART_FILE_H_
