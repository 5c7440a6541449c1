#include "platform/linux/tabulet/resources.h"

#include <dlfcn.h>

#include <cerrno>

#include "platform/linux/common/replace_file.h"

namespace saltmoor::platform {
namespace {

constexpr std::size_t kLimit_bytes = 16 << 20;

std::string LibraryFolder() {
  Dl_info library;
  return dladdr(reinterpret_cast<void*>(&LibraryFolder), &library) != 0 && library.dli_fname
             ? FolderOf(library.dli_fname)
             : ".";
}

}  // namespace

Error ReadResource(const std::string& folder, const std::string& name, std::string* content) {
  Error error = Error::System(ENOENT, "no resource " + name);
  if (name.empty() || name.front() == '.' || name.find('/') != std::string::npos) return error;
  // Libraries lie in PREFIX/lib or, as in Debian, in PREFIX/lib/ARCHITECTURE.
  for (const std::string& root : {std::string("/ebrmain"), LibraryFolder() + "/../share/quire",
                                  LibraryFolder() + "/../../share/quire"}) {
    error = ReadFile(root + "/" + folder + "/" + name, kLimit_bytes, content);
    if (!error.IsSystem(ENOENT) && !error.IsSystem(ENOTDIR)) return error;
  }
  return error;
}

}  // namespace saltmoor::platform
