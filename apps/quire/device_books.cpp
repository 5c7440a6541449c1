#include "device_books.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <set>

#include "book_view.h"
#include "command_error.h"
#include "json_output.h"
#include "program.h"
#include "saved_books.h"
#include "screen.h"
#include "text.h"
#include "title_choice.h"

namespace fs = std::filesystem;

namespace app {
namespace {

constexpr char kScanner[] = "/ebrmain/bin/scanner.app";
constexpr char kDownloads[] = "/mnt/ext1/Downloads";
constexpr char kPart[] = ".part";  // of a download that has not ended
constexpr char kPartRecord[] = ".part.info";

DeviceBook ToDeviceBook(const Json& record) {
  const auto text = [&](const char* key) {
    const auto found = record.find(key);
    return found != record.end() && found->is_string() ? found->get<std::string>() : std::string();
  };
  const auto number = [&](const char* key) {
    const auto found = record.find(key);
    return found != record.end() && found->is_number_integer() ? found->get<std::int64_t>() : 0;
  };
  DeviceBook book;
  book.path = text("path");
  book.title = text("title");
  book.author = text("author");
  book.format = text("format");
  book.size_bytes = number("size_bytes");
  book.modified_s = number("modified_s");
  return book;
}

/// A file that the scanner has not recorded.
DeviceBook DescribeFile(const std::string& path) {
  std::error_code ignored;
  DeviceBook book;
  book.path = path;
  const std::string name = book.FileName();
  book.is_partial = name.ends_with(kPart);
  const std::size_t dot = name.rfind('.');
  if (dot != std::string::npos && !book.is_partial) book.format = name.substr(dot + 1);
  const auto size_bytes = fs::file_size(path, ignored);
  if (!ignored) book.size_bytes = static_cast<std::int64_t>(size_bytes);
  return book;
}

/// Whether a download of this or another process writes to the file.
bool IsLocked(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  const bool is_locked = flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
  close(fd);
  return is_locked;
}

}  // namespace

std::vector<DeviceBook> ReadLibrary() {
  std::string output;
  ProgramOptions options;
  options.output = &output;
  const bool is_listed = RunProgram({kScanner, "--list"}, options) == 0;
  const Json records = is_listed ? Json::parse(output, nullptr, false) : Json();
  if (!records.is_array()) {
    throw CommandError(kDevice,
                       "The device's library cannot be read. Try again in a few seconds; the "
                       "scanner replaces a damaged library after the next download.");
  }
  std::vector<DeviceBook> books;
  for (const Json& record : records) {
    if (record.is_object()) books.push_back(ToDeviceBook(record));
  }
  return books;
}

std::vector<DeviceBook> FindDeviceBooks() {
  std::vector<DeviceBook> books = ReadLibrary();
  std::error_code error;
  const SavedBooks saved_books;
  const auto add = [&](const std::string& path) -> DeviceBook& {
    const auto found = std::find_if(books.begin(), books.end(),
                                    [&](const DeviceBook& book) { return book.path == path; });
    return found != books.end() ? *found : books.emplace_back(DescribeFile(path));
  };
  for (const auto& [ean, path] : saved_books.paths()) {
    if (fs::is_regular_file(path, error)) add(path).ean = ean;
  }
  std::set<std::string> parts;
  for (fs::directory_iterator entry(kDownloads, error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string path = entry->path().string();
    if (path.ends_with(kPart)) parts.insert(path);
  }
  for (const std::string& path : parts) add(path);
  return books;
}

const DeviceBook& ChooseBook(const std::vector<DeviceBook>& books, const std::string& name) {
  const auto find_words = [&](const std::string& words) {
    std::vector<NamedTitle> titles;
    for (const DeviceBook& book : books) {
      titles.push_back({"#" + std::to_string(titles.size() + 1), book.DisplayTitle(), book.author});
    }
    return SelectByWords(std::move(titles), words);
  };
  const auto find_number = [&](std::size_t number) {
    return number >= 1 && number <= books.size() ? "#" + std::to_string(number) : std::string();
  };
  const std::string advice = "See what is on the device with \"quire library\".";
  const std::string id = ChooseTitle(name, {find_words, advice, find_number});
  if (id.starts_with('#')) return books[std::stoul(id.substr(1)) - 1];
  const auto book = std::find_if(books.begin(), books.end(),
                                 [&](const DeviceBook& each) { return each.ean == id; });
  if (book == books.end()) {
    throw CommandError(kNotFound, "No book on the device has the EAN " + id + ". " + advice);
  }
  return *book;
}

void DeleteBook(const DeviceBook& book) {
  const std::string title = QuoteTitle(book.DisplayTitle());
  const std::string stem =
      book.is_partial ? book.path.substr(0, book.path.size() - (sizeof kPart - 1)) : book.path;
  if (IsLocked(stem + kPart)) {
    throw CommandError(kFailed, title + " is being downloaded. Delete it when that has ended.");
  }
  std::error_code error;
  fs::remove(book.path, error);
  if (error) {
    throw CommandError(kDevice, title + " could not be deleted: " + error.message() +
                                    ". Check the permissions of " + MakePrintable(book.path) + ".");
  }
  for (const char* rest : {kPart, kPartRecord}) fs::remove(stem + rest, error);
  if (book.is_partial) return;
  std::string ignored;
  ProgramOptions options;
  options.output = &ignored;
  const std::string directory = fs::path(book.path).parent_path().string();
  if (RunProgram({kScanner, "--scan", directory}, options) != 0) {
    Screen::Err().PrintLine("The scanner did not run, so \"quire library\" lists " + title +
                            " until its next scan.");
  }
}

}  // namespace app
