#ifndef QUIRE_APP_COMMANDS_H_
#define QUIRE_APP_COMMANDS_H_

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

#include "session.h"

namespace app {

// Each function adds its commands to the command line. A command that fails throws CommandError.

void AddAccountCommands(CLI::App& cli, Session& session);
void AddCatalogueCommands(CLI::App& cli, Session& session);
void AddCartCommands(CLI::App& cli, Session& session);
void AddBookCommands(CLI::App& cli, Session& session);
void AddLibraryCommands(CLI::App& cli);
void AddShowCommand(CLI::App& cli, Session& session);
void AddCheckoutCommands(CLI::App& cli, Session& session);
void AddShellCommand(CLI::App& cli);

/// Adds a command that takes "--json".
/// \param show  runs the command unless a subcommand of it was named.
CLI::App* AddListing(CLI::App& cli, const std::string& name, const std::string& description,
                     std::function<void(bool as_json)> show);

/// Adds all commands.
void AddCommands(CLI::App& cli, Session& session);

/// Runs one command line and reports its failure on the standard error.
/// \param arguments  without the program's name.
ExitCode RunCommand(std::vector<std::string> arguments, Session& session);

}  // namespace app

#endif  // QUIRE_APP_COMMANDS_H_
