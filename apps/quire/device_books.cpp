#include "device_books.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <boost/algorithm/string/split.hpp>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <optional>
#include <set>

#include "book_view.h"
#include "command_error.h"
#include "json_output.h"
#include "program.h"
#include "saved_books.h"
#include "screen.h"
#include "text.h"

namespace fs = std::filesystem;

namespace app {
namespace {

constexpr char kScanner[] = "/ebrmain/bin/scanner.app";
constexpr char kDownloads[] = "/mnt/ext1/Downloads";
constexpr char kPart[] = ".part";  // of a download that has not ended
constexpr char kPartRecord[] = ".part.info";
constexpr std::size_t kMaxChoices = 8;

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

/// The index of the book at a position such as "2" or "#2"; nothing when `name` is none.
std::optional<std::size_t> ParsePosition(std::string_view name) {
  constexpr std::size_t kMaxDigits = 6;  // an EAN has more
  if (name.starts_with('#')) name.remove_prefix(1);
  std::size_t position = 0;
  const char* const end = name.data() + name.size();
  const auto read = std::from_chars(name.data(), end, position);
  if (name.size() > kMaxDigits || read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return position - 1;
}

/// The indices of the books that have the EAN, or else all the words.
std::vector<std::size_t> Match(const std::vector<DeviceBook>& books, const std::string& name) {
  std::string ean = name;
  std::erase(ean, '-');
  std::vector<std::size_t> found;
  for (std::size_t i = 0; i < books.size(); ++i) {
    if (!ean.empty() && books[i].ean == ean) found.push_back(i);
  }
  if (!found.empty()) return found;
  std::vector<std::string> words;
  const std::string folded = FoldCase(name);
  boost::split(words, folded, [](char c) { return c == ' '; });
  for (std::size_t i = 0; i < books.size(); ++i) {
    const std::string text =
        FoldCase(books[i].title + " " + books[i].author + " " + books[i].FileName());
    const auto has = [&](const std::string& word) { return text.find(word) != std::string::npos; };
    if (std::all_of(words.begin(), words.end(), has)) found.push_back(i);
  }
  return found;
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
  const std::string shown = QuoteTitle(name);
  const auto position = ParsePosition(name);
  if (position && *position < books.size()) return books[*position];
  const bool has_words = name.find_first_not_of(' ') != std::string::npos;
  const std::vector<std::size_t> found =
      has_words ? Match(books, name) : std::vector<std::size_t>();
  if (found.size() == 1) return books[found.front()];
  if (found.empty()) {
    throw CommandError(kNotFound,
                       "No book on the device is " + shown + ". See them with \"quire library\".");
  }
  std::string choices;
  for (std::size_t i = 0; i < std::min(found.size(), kMaxChoices); ++i) {
    choices += (i == 0 ? "" : ", ") + ("#" + std::to_string(found[i] + 1)) + " " +
               QuoteTitle(books[found[i]].DisplayTitle());
  }
  if (found.size() > kMaxChoices) choices += " and others";
  throw CommandError(kNotFound, std::to_string(found.size()) + " books on the device match " +
                                    shown + ": " + choices + ". Name one by its number.");
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
