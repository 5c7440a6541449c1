#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/linux/common/error.h"
#include "platform/linux/common/log.h"
#include "tabulet.h"

const tb_file_type* GetSupportedFileTypes() {
  static constexpr tb_file_type kTypes[] = {
      {"acsm", "Adobe Content Server ticket"},
      {"cbr", "Comic book, RAR"},
      {"cbz", "Comic book, ZIP"},
      {"chm", "Compiled HTML help"},
      {"djv", "DjVu"},
      {"djvu", "DjVu"},
      {"doc", "Word document"},
      {"docx", "Word document"},
      {"epub", "EPUB e-book"},
      {"fb2", "FictionBook"},
      {"fb2.zip", "FictionBook, zipped"},
      {"htm", "Web page"},
      {"html", "Web page"},
      {"mobi", "Mobipocket e-book"},
      {"pdf", "Portable Document Format"},
      {"prc", "Mobipocket e-book"},
      {"rtf", "Rich text"},
      {"txt", "Plain text"},
      {nullptr, nullptr},
  };
  return kTypes;
}

int tb_unlink(const char* path) {
  return saltmoor::platform::CatchAtBoundary(-1, [path] {
    if (unlink(path) == 0 || errno == ENOENT) return 0;
    using saltmoor::platform::Error;
    Log(saltmoor::platform::LogLevel::kError,
        Error::System(errno, std::string("cannot delete ") + path).message());
    return -1;
  });
}
