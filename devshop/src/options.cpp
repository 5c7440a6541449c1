#include "options.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <map>
#include <string>

namespace devshop {
namespace {

/// The data installed with the program; the build tree has the same layout.
std::filesystem::path ShareDirectory() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  return (program.parent_path() / ".." / "share" / "quire").lexically_normal();
}

void PrintUsageError(const std::string& error) {
  std::cerr << "quire-devshop: " + error + "; quire-devshop --help lists the options.\n";
}

}  // namespace

std::optional<Options> ParseOptions(int argc, char** argv, int* exit_code) {
  Options options;
  options.books = ShareDirectory() / "books";
  options.accounts = ShareDirectory() / "accounts.json";

  CLI::App app(
      "A bookshop on loopback for developers: store API and catalogue over HTTPS, configuration\n"
      "service over HTTP, payment pages, and a control port for faults and recorded requests.",
      "quire-devshop");
  app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  app.add_option("--data", options.data,
                 "Directory for the test authority and the shop's state, created when missing\n"
                 "(default: a temporary one, removed at exit)");
  app.add_option("--books", options.books, "Directory with the books to sell")
      ->capture_default_str();
  app.add_option("--accounts", options.accounts, "JSON file with the customers to start with")
      ->capture_default_str();
  const auto port = CLI::Range(0, 65535);
  app.add_option("--shop-port", options.shop_port, "HTTPS port of the shop; 0: any free one")
      ->check(port);
  app.add_option("--config-port", options.config_port, "HTTP port of the configuration service")
      ->check(port);
  app.add_option("--control-port", options.control_port,
                 "HTTP port for faults and recorded requests")
      ->check(port);
  const std::map<std::string, CertificateKind> kinds{
      {"good", CertificateKind::kGood},
      {"other-host", CertificateKind::kOtherHost},
      {"expired", CertificateKind::kExpired},
      {"unknown-authority", CertificateKind::kUnknownAuthority}};
  app.add_option("--certificate", options.certificate,
                 "The shop's certificate: good, other-host, expired, unknown-authority")
      ->transform(CLI::Transformer(kinds).description(""))
      ->transform(CLI::IsMember(kinds).description(""))  // runs first; its message names the kinds
      ->type_name("KIND");
  app.set_version_flag("--version", "quire-devshop " QUIRE_VERSION, "Print the version");
  app.add_flag("--verbose", options.verbose, "Log each request on standard error");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ExtrasError&) {
    *exit_code = 2;
    PrintUsageError("There is no option or argument " + app.remaining().front());
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    *exit_code = error.get_exit_code() == 0 ? app.exit(error) : 2;
    if (*exit_code != 0) PrintUsageError(error.what());
    return std::nullopt;
  }
  return options;
}

}  // namespace devshop
