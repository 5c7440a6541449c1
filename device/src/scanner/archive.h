/// \file
/// Files in an untrusted ZIP archive.

#ifndef DEVICE_SCANNER_ARCHIVE_H_
#define DEVICE_SCANNER_ARCHIVE_H_

#include <zip.h>

#include <filesystem>
#include <memory>
#include <string>

#include "document_reader.h"

namespace scanner {

class Archive {
 public:
  /// An archive that is damaged, or has a directory of more than 2 MiB, has no files.
  explicit Archive(const std::filesystem::path& path);

  /// A file's content, valid as long as the archive; empty if there is no such file.
  DocumentReader::Source Open(const std::string& name) const;

  /// The content of the file that the archive's directory lists first.
  DocumentReader::Source OpenFirst() const;

 private:
  struct Discard {
    void operator()(zip_t* zip) const { zip_discard(zip); }
  };
  std::unique_ptr<zip_t, Discard> zip_;
};

}  // namespace scanner

#endif  // DEVICE_SCANNER_ARCHIVE_H_
