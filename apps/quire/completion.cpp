#include "completion.h"

#include <algorithm>
#include <sstream>

#include "book_view.h"
#include "device_books.h"
#include "screen.h"
#include "text.h"
#include "title_cache.h"

namespace app {
namespace {

/// The command that the words name, and whether the next word is the value of an option.
struct Position {
  const CLI::App* command;
  std::string path;  ///< of the command, such as "cart add"
  const CLI::Option* value_of = nullptr;
};

Position Locate(const CLI::App& cli, const std::vector<std::string>& before) {
  Position at{&cli, {}};
  for (const std::string& word : before) {
    if (at.value_of != nullptr) {
      at.value_of = nullptr;
    } else if (word.starts_with('-')) {
      const CLI::Option* option = at.command->get_option_no_throw(word);
      if (option != nullptr && option->get_items_expected_max() > 0) at.value_of = option;
    } else {
      const auto is_named = [&](const CLI::App* each) { return each->get_name() == word; };
      const auto named = at.command->get_subcommands(is_named);
      if (named.empty()) continue;
      at.command = named.front();
      at.path += (at.path.empty() ? "" : " ") + word;
    }
  }
  return at;
}

std::vector<Completion> CompleteCart(Session& session) {
  std::vector<Completion> titles;
  for (const auto& [position, book] : ListCart(session)) {
    titles.push_back({GetString(book, store::Book::kEan), DisplayTitle(book)});
  }
  return titles;
}

std::vector<Completion> CompleteDevice() try {
  std::vector<Completion> titles;
  const std::vector<DeviceBook> books = FindDeviceBooks();
  for (std::size_t i = 0; i < books.size(); ++i) {
    const DeviceBook& book = books[i];
    titles.push_back({book.ean.empty() ? std::to_string(i + 1) : book.ean, book.DisplayTitle()});
  }
  return titles;
} catch (const CommandError&) {
  return {};
}

/// The titles that may follow a command.
std::vector<Completion> ListTitles(const std::string& command, Session& session) {
  if (command == "cart remove") return CompleteCart(session);
  if (command == "open" || command == "delete") return CompleteDevice();
  const bool is_for_bought = command == "download";
  const bool is_for_others = command == "cart add";
  if (!is_for_bought && !is_for_others && command != "show" && command != "status") return {};
  std::vector<Completion> titles;
  const TitleCache cache;
  for (const auto& [ean, title] : cache.titles()) {
    if (title.is_bought ? !is_for_others : !is_for_bought) titles.push_back({ean, title.text});
  }
  return titles;
}

bool HasWordWithPrefix(const std::string& title, const std::string& folded_prefix) {
  const std::string folded = " " + FoldCase(title);
  return folded.find(" " + folded_prefix) != std::string::npos;
}

std::vector<Completion> ListWords(const Position& at, bool are_options) {
  std::vector<Completion> words;
  if (at.value_of != nullptr) {
    const std::string values = at.value_of->get_type_name();  // such as "title|author"
    if (values.find('|') == std::string::npos) return words;
    std::istringstream in(values);
    for (std::string value; std::getline(in, value, '|');) words.push_back({value, {}});
  } else if (are_options) {
    for (const CLI::Option* option : at.command->get_options()) {
      for (const std::string& name : option->get_snames()) words.push_back({"-" + name, {}});
      for (const std::string& name : option->get_lnames()) words.push_back({"--" + name, {}});
    }
  } else {
    for (const CLI::App* command : at.command->get_subcommands({})) {
      words.push_back({command->get_name(), {}});
    }
  }
  return words;
}

}  // namespace

std::vector<Completion> Complete(const CLI::App& cli, Session& session,
                                 const std::vector<std::string>& before,
                                 const std::string& current) {
  const Position at = Locate(cli, before);
  const bool are_options = current.starts_with('-');
  std::vector<Completion> found = ListWords(at, are_options);
  if (at.value_of == nullptr && !are_options) {
    for (Completion& title : ListTitles(at.path, session)) found.push_back(std::move(title));
  }
  const std::string folded = FoldCase(current);
  std::erase_if(found, [&](const Completion& each) {
    return !each.word.starts_with(current) &&
           (each.title.empty() || !HasWordWithPrefix(each.title, folded));
  });
  return found;
}

void PrintCompletions(const CLI::App& cli, Session& session, std::vector<std::string> words) {
  if (words.empty()) words.emplace_back();
  const std::string current = std::move(words.back());
  words.pop_back();
  for (const Completion& each : Complete(cli, session, words, current)) {
    const std::string title = each.title.empty() ? "" : "\t" + MakePrintable(each.title);
    Screen::Out().Write(MakePrintable(each.word) + title + "\n");
  }
}

}  // namespace app
