#include "platform/linux/tabulet/resources.h"

#include <dlfcn.h>

#include <cerrno>

#include "platform/linux/common/atomic_file.h"

namespace saltmoor::platform {
namespace {

constexpr std::size_t kMaxResource_bytes = 16 << 20;

std::string LibraryDirectory() {
  Dl_info library;
  return dladdr(reinterpret_cast<void*>(&LibraryDirectory), &library) != 0 && library.dli_fname
             ? GetDirectoryName(library.dli_fname)
             : ".";
}

}  // namespace

Error ReadResource(const std::string& directory, const std::string& name, std::string* content) {
  Error error = Error::System(ENOENT, "no resource " + name);
  if (name.empty() || name.front() == '.' || name.find('/') != std::string::npos) return error;
  // The library is in PREFIX/lib or, on Debian, in PREFIX/lib/ARCHITECTURE.
  for (const std::string& root : {std::string("/ebrmain"), LibraryDirectory() + "/../share/quire",
                                  LibraryDirectory() + "/../../share/quire"}) {
    error = ReadFile(root + "/" + directory + "/" + name, kMaxResource_bytes, content);
    if (!error.IsSystem(ENOENT) && !error.IsSystem(ENOTDIR)) return error;
  }
  return error;
}

}  // namespace saltmoor::platform
