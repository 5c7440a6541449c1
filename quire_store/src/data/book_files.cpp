#include "book_files.h"

#include <unistd.h>

#include <initializer_list>

#include "book_properties.h"
#include "device_paths.h"
#include "file_names_parts.h"
#include "saltmoor/utilities/to_lower.h"

namespace saltmoor::quire {
namespace {

constexpr unsigned kMaxNameChars = 255;

bool Exists(const std::string& path) {
  return access(path.c_str(), F_OK) == 0;
}

// Appends the first of the extensions with which the file exists.
// \return false, with the path unchanged, when there is none.
bool AppendExtension(std::string& path, std::initializer_list<const char*> extensions) {
  const std::size_t size = path.size();
  for (const char* const extension : extensions) {
    if (Exists(path.append(extension))) return true;
    path.resize(size);
  }
  return false;
}

void AppendShortFileName(const Book& book, std::string& path) {
  FileNameAppender name(path, kMaxNameChars, true);
  name.Append(GetString(book, Book::kAuthor));
  name.Append(" - ");
  name.Append(GetString(book, Book::kTitle));
  const std::string& format = GetString(book, Book::kEbookFormat);
  if (format.empty()) return;
  name.Append(".");
  name.Append(utilities::ToLower(format));
}

}  // namespace

std::string GenerateBookShortFileName(const Book& book) {
  std::string name;
  AppendShortFileName(book, name);
  return name;
}

std::string GenerateBookFileName(const Book& book) {
  std::string path = paths::kDownloads;
  AppendShortFileName(book, path += '/');
  return path;
}

std::string GetBookFile(const Book& book) {
  std::string path = GenerateBookFileName(book);
  if (Exists(path)) return path;

  // Compatibility: a dot in the author's name cuts a name without an extension short.
  path.resize(FindExtension(path));
  if (AppendExtension(path, {".epub", ".pdf", ".acsm"})) return path;

  // Compatibility: a ticket does not count here.
  path.assign(paths::kDigitalEditions).append("/");
  FileNameAppender(path, kMaxNameChars, true).Append(GetString(book, Book::kTitle));
  if (AppendExtension(path, {".epub", ".pdf"})) return path;
  return {};
}

}  // namespace saltmoor::quire
