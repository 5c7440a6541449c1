#include "data_directory.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "start_error.h"

namespace devshop {
namespace {

StartError NotWritable(const std::filesystem::path& path, const std::string& reason) {
  return StartError("Cannot write to the data directory " + path.string() + " (" + reason +
                    "); name another with --data.");
}

std::filesystem::path CreateTemporaryDirectory() {
  std::error_code error;
  auto name = (std::filesystem::temp_directory_path(error) / "quire-devshop-XXXXXX").string();
  if (error || mkdtemp(name.data()) == nullptr) throw NotWritable(name, std::strerror(errno));
  return name;
}

}  // namespace

DataDirectory::DataDirectory(const std::filesystem::path& path)
    : path_(path.empty() ? CreateTemporaryDirectory() : std::filesystem::absolute(path)),
      temporary_(path.empty()) {
  if (temporary_) return;
  std::error_code error;
  std::filesystem::create_directories(path_, error);
  if (error) throw NotWritable(path_, error.message());
  lock_ = open((path_ / "lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (lock_ < 0) throw NotWritable(path_, std::strerror(errno));
  if (flock(lock_, LOCK_EX | LOCK_NB) != 0) {
    close(lock_);
    throw StartError("Another shop uses the data directory " + path_.string() +
                     "; close it, or name another directory with --data.");
  }
}

DataDirectory::~DataDirectory() {
  if (lock_ >= 0) close(lock_);
  std::error_code ignored;
  if (temporary_) std::filesystem::remove_all(path_, ignored);
}

}  // namespace devshop
