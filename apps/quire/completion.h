#ifndef QUIRE_APP_COMPLETION_H_
#define QUIRE_APP_COMPLETION_H_

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "session.h"

namespace app {

/// A word that may be typed, and for an EAN or a number the title that it means.
struct Completion {
  std::string word;
  std::string title;
};

/// The words that the unfinished word `current` may become after the words `before`: commands and
/// options of `cli`, EANs, and those of titles that have a word beginning with `current`. Does not
/// ask the shop: titles are those that are in the cart, on the device, or were listed before.
std::vector<Completion> Complete(const CLI::App& cli, Session& session,
                                 const std::vector<std::string>& before,
                                 const std::string& current);

/// A line for each completion of the last of `words`: the word, and after a tab the title.
void PrintCompletions(const CLI::App& cli, Session& session, std::vector<std::string> words);

}  // namespace app

#endif  // QUIRE_APP_COMPLETION_H_
