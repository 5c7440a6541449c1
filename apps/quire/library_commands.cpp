#include <unistd.h>

#include <boost/algorithm/string/join.hpp>
#include <cstdlib>
#include <iostream>
#include <memory>

#include "book_view.h"
#include "commands.h"
#include "device_books.h"
#include "json_output.h"
#include "program.h"
#include "screen.h"
#include "table.h"
#include "text.h"

namespace app {
namespace {

constexpr char kViewerVariable[] = "QUIRE_VIEWER";
constexpr char kDefaultViewer[] = "xdg-open";

Json BookToJson(const DeviceBook& book) {
  return {{"path", book.path},
          {"title", StringOrNull(book.title)},
          {"author", StringOrNull(book.author)},
          {"format", StringOrNull(book.format)},
          {"size_bytes", book.size_bytes},
          {"modified_s", book.modified_s}};
}

void ShowLibrary(bool as_json) {
  const std::vector<DeviceBook> books = ReadLibrary();
  if (as_json) {
    Json json = Json::array();
    for (const DeviceBook& book : books) json.push_back(BookToJson(book));
    return PrintJson(json);
  }
  if (books.empty()) {
    return Screen::Out().PrintLine(
        "The device's scanner has recorded no books yet. Get some with \"quire download --all\".");
  }
  Table table(
      {{"#", 0, true}, {"Title", 16}, {"Author", 10}, {"Format"}, {"Size", 0, true}, {"File", 14}});
  for (std::size_t i = 0; i < books.size(); ++i) {
    const DeviceBook& book = books[i];
    table.AddRow({"#" + std::to_string(i + 1), book.DisplayTitle(), book.author, book.format,
                  FormatSize(book.size_bytes), book.title.empty() ? "" : book.FileName()});
  }
  table.Print();
}

void OpenBook(const std::string& name) {
  const std::vector<DeviceBook> books = FindDeviceBooks();
  const DeviceBook& book = ChooseBook(books, name);
  if (book.is_partial) {
    throw CommandError(kFailed, QuoteTitle(book.DisplayTitle()) +
                                    " is not complete. Continue its download with \"quire "
                                    "download\".");
  }
  const char* const named = std::getenv(kViewerVariable);
  const std::string viewer = named != nullptr && *named != '\0' ? named : kDefaultViewer;
  const int exit_code = RunProgram({viewer, book.path});
  if (exit_code == 0) return;
  const std::string problem =
      exit_code == kProgramNotFound
          ? "There is no viewer \"" + viewer + "\" here"
          : "The viewer \"" + viewer + "\" failed with exit code " + std::to_string(exit_code);
  Screen::Out().PrintPath(book.path);
  throw CommandError(kDevice, problem + ". Name a program that shows a file in " + kViewerVariable +
                                  "; the book's file is printed above.");
}

/// Asks on the terminal; false for any answer but "y" and "yes".
bool Confirm(const std::string& question) {
  if (isatty(STDIN_FILENO) == 0) {
    throw CommandError(kUsage, "Nothing was deleted: there is no terminal to ask on. Use --yes.");
  }
  Screen::Out().PrintLine(question);
  Screen::Out().Write("[y/N] ");
  std::string answer;
  std::getline(std::cin, answer);
  const std::string folded = FoldCase(answer);
  return folded == "y" || folded == "yes";
}

void Delete(const std::string& name, bool without_question) {
  const std::vector<DeviceBook> books = FindDeviceBooks();
  const DeviceBook& book = ChooseBook(books, name);
  const std::string title = QuoteTitle(book.DisplayTitle());
  const std::string author = book.author.empty() ? "" : " by " + QuoteTitle(book.author);
  const std::string again =
      book.is_partial    ? "Its download starts anew then."
      : book.ean.empty() ? "quire did not download this file, so it may be the only copy."
                         : "It stays bought; \"quire download " + book.ean + "\" gets it again.";
  if (!without_question && !Confirm("Delete " + title + author + " from the device? " + again)) {
    throw CommandError(kFailed, "Nothing was deleted.");
  }
  DeleteBook(book);
  Screen::Out().PrintLine("Deleted " + title + " from the device." +
                          (book.ean.empty() ? "" : " " + again));
}

}  // namespace

void AddLibraryCommands(CLI::App& cli) {
  const auto words = std::make_shared<std::vector<std::string>>();
  const auto yes = std::make_shared<bool>(false);
  const auto name = [words] { return boost::algorithm::join(*words, " "); };
  const std::string which = "Its EAN, its number in \"quire library\", or words of its title";

  AddListing(cli, "library", "List what the device's scanner has recorded", ShowLibrary);

  CLI::App* open = cli.add_subcommand("open", "Open a book of the device in a viewer");
  open->add_option("TITLE", *words, which)->required();
  open->callback([name] { OpenBook(name()); });

  CLI::App* remove = cli.add_subcommand("delete", "Delete a book from the device");
  remove->add_option("TITLE", *words, which)->required();
  remove->add_flag("--yes", *yes, "Without a question");
  remove->callback([name, yes] { Delete(name(), *yes); });
}

}  // namespace app
