#include <sys/wait.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>

#include "commands.h"
#include "json_output.h"
#include "screen.h"
#include "table.h"

namespace app {
namespace {

constexpr char kListBooks[] = "/ebrmain/bin/scanner.app --list";

/// Runs a command of the shell.
/// \return its output; nothing when it fails.
std::optional<std::string> RunProgram(const char* command) {
  FILE* const pipe = popen(command, "re");
  if (pipe == nullptr) return std::nullopt;
  std::string output;
  std::array<char, 4096> buffer{};
  while (const std::size_t size = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
    output.append(buffer.data(), size);
  }
  return pclose(pipe) == 0 ? std::optional(output) : std::nullopt;
}

/// The books that the scanner has recorded: an array as scanner.app prints it.
Json ReadLibrary() {
  const std::string output = RunProgram(kListBooks).value_or("");
  Json books = Json::parse(output, nullptr, false);
  if (books.is_array()) return books;
  throw CommandError(kDevice,
                     "The device's library cannot be read. Try again in a few seconds; the "
                     "scanner replaces a damaged library after the next download.");
}

std::string FormatSize(std::int64_t bytes) {
  if (bytes < 1'000'000) return std::to_string((bytes + 999) / 1000) + " kB";
  char text[32];
  std::snprintf(text, sizeof text, "%.1f MB", static_cast<double>(bytes) / 1e6);
  return text;
}

void ShowLibrary(bool as_json) {
  const Json books = ReadLibrary();
  if (as_json) return PrintJson(books);
  if (books.empty()) {
    return Screen::Out().PrintLine(
        "The device's scanner has recorded no books yet. Get some with \"quire download --all\".");
  }
  Table table({{"Title", 16}, {"Author", 10}, {"Format"}, {"Size", 0, true}, {"File", 14}});
  for (const Json& book : books) {
    const auto text = [&](const char* key) {
      return book.at(key).is_null() ? std::string() : book.at(key).get<std::string>();
    };
    const std::string path = text("path");
    const std::string file = path.substr(path.rfind('/') + 1);
    const std::string title = text("title");
    table.AddRow({title.empty() ? file : title, text("author"), text("format"),
                  FormatSize(book.at("size_bytes").get<std::int64_t>()),
                  title.empty() ? "" : file});
  }
  table.Print();
}

}  // namespace

void AddLibraryCommand(CLI::App& cli) {
  AddListing(cli, "library", "List what the device's scanner has recorded", ShowLibrary);
}

}  // namespace app
