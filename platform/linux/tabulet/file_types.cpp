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
