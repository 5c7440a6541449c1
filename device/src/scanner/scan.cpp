#include "scan.h"

#include <sys/stat.h>

#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "../string_util.h"
#include "epub_metadata.h"
#include "library.h"
#include "tabulet.h"

namespace fs = std::filesystem;

namespace scanner {
namespace {

constexpr int kMaxDepth = 32;
constexpr int kMaxEntries = 200'000;

/// The longest extension of the name that the device supports; empty if there is none.
std::string FindFormat(const std::string& file_name) {
  const std::string name = ToLower(file_name);
  std::string format;
  for (const tb_file_type* type = GetSupportedFileTypes(); type->extension; ++type) {
    const std::string extension = type->extension;
    if (extension.size() > format.size() && name.ends_with("." + extension)) format = extension;
  }
  return format;
}

std::vector<BookFile> FindBookFiles(const fs::path& directory) {
  std::error_code error;
  fs::recursive_directory_iterator entry(directory, fs::directory_options::skip_permission_denied,
                                         error);
  if (error) throw std::runtime_error("cannot read " + directory.string() + ": " + error.message());
  std::vector<BookFile> books;
  for (int count = 0; entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    if (++count > kMaxEntries) {
      std::cerr << "scanner: " << directory.string() << " holds more than " << kMaxEntries
                << " files; the rest is ignored\n";
      break;
    }
    const std::string name = entry->path().filename().string();
    if (name.starts_with('.') || entry.depth() >= kMaxDepth) entry.disable_recursion_pending();
    const std::string format = FindFormat(name);
    struct stat status;
    if (name.starts_with('.') || format.empty() || lstat(entry->path().c_str(), &status) != 0 ||
        !S_ISREG(status.st_mode)) {
      continue;
    }
    books.push_back({entry->path().string(), format, status.st_size, status.st_mtim.tv_sec});
  }
  // The iterator ends early at a directory that was removed or cannot be read.
  if (error) throw std::runtime_error("cannot read " + directory.string() + ": " + error.message());
  return books;
}

bool IsGone(const std::string& path) {
  struct stat status;
  if (lstat(path.c_str(), &status) != 0) return errno == ENOENT || errno == ENOTDIR;
  return !S_ISREG(status.st_mode);
}

ScanResult UpdateLibrary(const std::string& directory, const std::vector<BookFile>& found,
                         const fs::path& library_file) {
  Library library(library_file);
  std::map<std::string, BookFile> recorded;
  for (BookFile& book : library.FindBooks(directory)) recorded.emplace(book.path, std::move(book));

  ScanResult result;
  for (const BookFile& book : found) {
    ++result.books;
    const auto known = recorded.extract(book.path);
    if (known && known.mapped().size_bytes == book.size_bytes &&
        known.mapped().modified_s == book.modified_s) {
      continue;
    }
    if (!known) ++result.new_books;
    const Metadata metadata = book.format == "epub" ? ReadEpubMetadata(book.path) : Metadata();
    library.Put(book, metadata.title, metadata.author);
  }
  for (const auto& [path, book] : recorded) {
    if (!IsGone(path)) continue;  // in a directory that the walk skipped
    library.Remove(path);
    ++result.gone;
  }
  library.Commit();
  return result;
}

}  // namespace

ScanResult Scan(const fs::path& directory, const fs::path& library_file) {
  std::string name = fs::absolute(directory).lexically_normal().string();
  if (name.size() > 1 && name.ends_with('/')) name.pop_back();
  const std::vector<BookFile> found = FindBookFiles(name);
  try {
    return UpdateLibrary(name, found, library_file);
  } catch (const LibraryDamagedError& damage) {
    const fs::path aside = MoveAside(library_file);
    std::cerr << "scanner: " << damage.what() << "; moved to " << aside.string()
              << ", and a new library is created\n";
    return UpdateLibrary(name, found, library_file);
  }
}

}  // namespace scanner
