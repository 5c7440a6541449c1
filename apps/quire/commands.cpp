#include "commands.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <sstream>
#include <string_view>
#include <utility>

#include "catalogue.h"
#include "completion.h"
#include "screen.h"
#include "text.h"

namespace app {
namespace {

constexpr char kCompleteCommand[] = "complete";  // for the shell's completion, not in --help
constexpr int kMaxHelpColumns = 80;
constexpr char kFooter[] =
    "Every listing takes --json. Passwords are asked for, or read from the standard input; they "
    "are never part of the command line.\n"
    "\n"
    "Exit codes: 0 done; 1 the shop refused, or the command failed; 2 wrong command line; 3 not "
    "logged in; 4 shop unreachable; 5 nothing found; 6 a file, directory or program of the device "
    "is missing or broken; 7 the device could not store a change; 130 interrupted.";

/// Shows the platform's log up to `level`. Before the first call of the library.
void ShowLog(int level) {
  setenv("TABULET_LOG", "-", 1);
  setenv("TABULET_LOG_LEVEL", std::to_string(level).c_str(), 1);
}

/// Options of the process; their callbacks run before that of any command.
void AddProcessOptions(CLI::App& cli) {
  cli.add_option_function<int>("--log", ShowLog, "Show the device's log up to that level")
      ->type_name("1|2|3|4|5")
      ->check(CLI::Range(1, 5).description(""))
      ->trigger_on_parse();  // a wrong level is then an error of "quire", not of the command
  cli.add_flag_callback(
      "-v,--verbose", [] { ShowLog(5); }, "The same as --log 5");
}

/// The number of characters to insert, remove or replace to turn `one` into `other`.
std::size_t EditDistance(std::string_view one, std::string_view other) {
  std::vector<std::size_t> row(other.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (std::size_t i = 0; i < one.size(); ++i) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 0; j < other.size(); ++j) {
      const std::size_t replaced = diagonal + (one[i] == other[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

/// What another program would call a command.
constexpr std::pair<const char*, const char*> kSynonyms[] = {
    {"search", "catalogue"}, {"find", "catalogue"}, {"browse", "catalogue"}, {"list", "catalogue"},
    {"basket", "cart"},      {"add", "cart"},       {"buy", "pay"},          {"order", "orders"},
    {"get", "download"},     {"signin", "login"},   {"signup", "register"},  {"purchased", "books"},
    {"profile", "account"},  {"whoami", "account"}, {"info", "show"},        {"details", "show"},
    {"read", "open"},        {"remove", "delete"}};

/// The command that the user may have meant; empty when none is near.
std::string SuggestCommand(const CLI::App& cli, const std::string& unknown) {
  constexpr std::size_t kMaxDistance = 2;
  std::string nearest;
  std::size_t least = std::min(kMaxDistance, unknown.size() / 2);
  for (const CLI::App* command : cli.get_subcommands({})) {
    const std::size_t distance = EditDistance(unknown, command->get_name());
    if (distance > least || (distance == least && !nearest.empty())) continue;
    nearest = command->get_name();
    least = distance;
  }
  for (const auto& [synonym, command] : kSynonyms) {
    if (unknown == synonym) return command;
  }
  return nearest;
}

/// Throws CommandError when the first argument names neither a command nor an option.
void CheckCommand(const CLI::App& cli, const std::string& first) {
  if (first.starts_with('-')) {
    const std::string name = first.substr(0, first.find('='));
    if (cli.get_option_no_throw(name) != nullptr) return;
    throw CommandError(kUsage, "There is no option \"" + name + "\". See \"quire --help\".");
  }
  const auto is_named = [&](const CLI::App* each) { return each->get_name() == first; };
  if (!cli.get_subcommands(is_named).empty()) return;
  const std::string suggestion = SuggestCommand(cli, first);
  throw CommandError(kUsage,
                     "There is no command \"" + first + "\". " +
                         (suggestion.empty() ? "See \"quire --help\"."
                                             : "Did you mean \"quire " + suggestion + "\"?"));
}

/// Prints help within the screen's width: a long line continues in the column where its text
/// begins.
void PrintHelp(const std::string& help) {
  const Screen& screen = Screen::Out();
  std::istringstream lines(help);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t name = std::min(line.find_first_not_of(' '), line.size());
    const std::size_t text = line.find_first_not_of(' ', line.find("  ", name));
    const std::size_t margin = text == std::string::npos ? name : text;
    std::string head = line.substr(0, margin);
    const int available = std::min(screen.Width(), kMaxHelpColumns) - static_cast<int>(margin);
    for (const std::string& part : Wrap(std::string_view(line).substr(margin), available)) {
      screen.Write(head + part + "\n");
      head.assign(margin, ' ');
    }
  }
}

ExitCode ReportUsageError(const CLI::App& cli, const CLI::ParseError& error) {
  const CLI::App* command = &cli;
  while (!command->get_subcommands().empty()) command = command->get_subcommands().front();
  std::string name = "quire";
  for (const CLI::App* at = command; at->get_parent() != nullptr; at = at->get_parent()) {
    name.insert(5, " " + at->get_name());
  }
  const bool lacks_subcommand = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr &&
                                command != &cli && !command->get_subcommands({}).empty();
  if (lacks_subcommand) {
    std::string choices;
    for (const CLI::App* each : command->get_subcommands({})) {
      choices += (choices.empty() ? "\"" : " or \"") + name + " " + each->get_name() + "\"";
    }
    PrintError("The command is incomplete. Use " + choices + ".");
    return kUsage;
  }
  std::string text = error.what();
  std::replace(text.begin(), text.end(), '\n', ' ');
  PrintError(text + ". See \"" + name + " --help\".");
  return kUsage;
}

/// Parses the arguments, which runs the command that they name, and reports its failure.
ExitCode ParseAndRun(CLI::App& cli, std::vector<std::string> arguments) try {
  CheckCommand(cli, arguments.front());
  std::reverse(arguments.begin(), arguments.end());  // CLI11 expects this order
  cli.parse(std::move(arguments));
  return kOk;
} catch (const CLI::CallForHelp&) {
  PrintHelp(cli.help());
  return kOk;
} catch (const CLI::CallForVersion& version) {
  Screen::Out().PrintLine(version.what());
  return kOk;
} catch (const CLI::ParseError& error) {
  return ReportUsageError(cli, error);
} catch (const CommandError& error) {
  if (error.what()[0] != '\0') PrintError(error.what());
  return error.code;
} catch (const CatalogueError& error) {
  PrintError(error.what());
  return error.is_unreachable ? kUnreachable : kFailed;
} catch (const std::exception& error) {
  PrintError(std::string("The command failed unexpectedly: ") + error.what() + ".");
  return kFailed;
}

}  // namespace

CLI::App* AddListing(CLI::App& cli, const std::string& name, const std::string& description,
                     std::function<void(bool as_json)> show) {
  CLI::App* command = cli.add_subcommand(name, description);
  const CLI::Option* json = command->add_flag("--json")->description("As JSON");
  command->callback([command, json, show = std::move(show)] {
    if (command->get_subcommands().empty()) show(!json->empty());
  });
  return command;
}

void AddCommands(CLI::App& cli, Session& session) {
  cli.footer(kFooter);
  cli.get_formatter()->column_width(std::min(26, Screen::Out().Width() / 3));
  cli.require_subcommand(1);
  AddAccountCommands(cli, session);
  AddCatalogueCommands(cli, session);
  AddShowCommand(cli, session);
  AddCartCommands(cli, session);
  AddCheckoutCommands(cli, session);
  AddBookCommands(cli, session);
  AddLibraryCommands(cli);
  cli.set_version_flag("--version", "quire " QUIRE_VERSION, "Show the version");
  if (session.mode() == Session::Mode::kSingleCommand) {
    AddShellCommand(cli);
    AddProcessOptions(cli);
  }
}

ExitCode RunCommand(std::vector<std::string> arguments, Session& session) {
  CLI::App cli("The shop of your e-reader: browse, buy and download e-books.", "quire");
  AddCommands(cli, session);
  if (arguments.empty()) {
    PrintHelp(cli.help());
    PrintError("No command was given. Try \"quire catalogue\".");
    return kUsage;
  }
  if (arguments.front() == kCompleteCommand) {
    PrintCompletions(cli, session, {arguments.begin() + 1, arguments.end()});
    return kOk;
  }
  if (arguments.front() == "help") {
    arguments.erase(arguments.begin());
    arguments.push_back("--help");
  }
  session.BeginCommand();
  return ParseAndRun(cli, std::move(arguments));
}

}  // namespace app
