#include "book_files.h"

#include <unistd.h>

#include "book_properties.h"
#include "device_paths.h"
#include "file_names.h"
#include "saltmoor/utilities/to_lower.h"

namespace saltmoor::quire {
namespace {

constexpr unsigned kMaxNameChars = 255;

bool Exists(const std::string& path) {
  return access(path.c_str(), F_OK) == 0;
}

}  // namespace

std::string GenerateBookShortFileName(const Book& book) {
  std::string name = GetString(book, Book::kAuthor) + " - " + GetString(book, Book::kTitle);
  const std::string& format = GetString(book, Book::kEbookFormat);
  if (!format.empty()) name += "." + utilities::ToLower(format);
  return VerifyFilename(name.c_str(), kMaxNameChars, true);
}

std::string GenerateBookFileName(const Book& book) {
  return std::string(paths::kDownloads) + "/" + GenerateBookShortFileName(book);
}

std::string GetBookFile(const Book& book) {
  std::string path = GenerateBookFileName(book);
  if (Exists(path)) return path;

  // Compatibility: a dot in the author's name cuts a name without an extension short.
  const std::string name = std::get<0>(ParseToNameExtention(path));
  for (const char* const extension : {".epub", ".pdf", ".acsm"}) {
    if (Exists(name + extension)) return name + extension;
  }

  // Compatibility: a ticket does not count here.
  const std::string title =
      VerifyFilename(GetString(book, Book::kTitle).c_str(), kMaxNameChars, true);
  const std::string edition = std::string(paths::kDigitalEditions) + "/" + title;
  for (const char* const extension : {".epub", ".pdf"}) {
    if (Exists(edition + extension)) return edition + extension;
  }
  return {};
}

}  // namespace saltmoor::quire
