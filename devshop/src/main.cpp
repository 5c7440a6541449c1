#include <signal.h>

#include <clocale>
#include <exception>
#include <iostream>
#include <optional>
#include <string>

#include "authority.h"
#include "configuration_service.h"
#include "control.h"
#include "data_directory.h"
#include "gate.h"
#include "hosts.h"
#include "http_server.h"
#include "options.h"
#include "shop_site.h"
#include "start_error.h"

namespace devshop {
namespace {

/// Signals that end the shop are waited for by main alone.
sigset_t BlockEndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signals;
}

void PrintAddresses(int shop, int config, int control, const std::filesystem::path& ca) {
  const auto address = [](int port) { return "127.0.0.1:" + std::to_string(port); };
  std::cout << "shop https://" << address(shop) << "\nconfig http://" << address(config)
            << "\ncontrol http://" << address(control) << "\nca " << ca.string() << "\nconnect-to "
            << kShopHost << ":443:" << address(shop) << "," << kConfigHost
            << ":80:" << address(config) << "," << kReturnHost << ":80:" << address(config)
            << "\nready" << std::endl;
}

void Run(const Options& options) {
  const sigset_t end_signals = BlockEndSignals();
  const DataDirectory data(options.data);
  const Authority authority(data.path());
  Shop shop(options.books, options.accounts, data.state_file());
  Files files(shop);
  ShopSite site(shop, files);
  ConfigurationService configuration;
  Faults faults;
  Ledger ledger(options.verbose);
  Control control(shop, files, faults, ledger);

  Gate shop_gate("shop", ledger, faults, [&](const Request& request, Response& response) {
    site.Handle(request, response);
  });
  Gate config_gate("config", ledger, faults, [&](const Request& request, Response& response) {
    if (request.path == ConfigurationService::kPath && request.method == "GET") {
      configuration.Handle(request, response);
    } else if (request.path == kReturnPath) {
      ServeReturnPage(response);
    } else {
      ServeNotFound(response);
    }
  });
  const auto through = [](Gate& gate) {
    return [&gate](const Request& request, Response& response, Connection& connection) {
      gate.pass(request, response, connection);
    };
  };
  const auto note_status = [&](int connection, int status) {
    ledger.SetStatus(connection, status);
  };

  const TlsContext tls = authority.ServerContext(options.certificate);
  StopSignal stop;
  HttpServer shop_server(tls.get(), stop, through(shop_gate), note_status);
  HttpServer config_server(nullptr, stop, through(config_gate), note_status);
  HttpServer control_server(nullptr, stop,
                            [&](const Request& request, Response& response, Connection&) {
                              control.Handle(request, response);
                            });
  const int shop_port = shop_server.start(options.shop_port, "--shop-port");
  const int config_port = config_server.start(options.config_port, "--config-port");
  const int control_port = control_server.start(options.control_port, "--control-port");
  PrintAddresses(shop_port, config_port, control_port, authority.certificate_file());

  int received = 0;
  sigwait(&end_signals, &received);
}

}  // namespace
}  // namespace devshop

int main(int argc, char** argv) {
  std::setlocale(LC_CTYPE, "C.UTF-8");  // case folding of what customers search for
  int exit_code = 0;
  const auto options = devshop::ParseOptions(argc, argv, &exit_code);
  if (!options) return exit_code;
  try {
    devshop::Run(*options);
    return 0;
  } catch (const devshop::StartError& error) {
    std::cerr << "quire-devshop: " << error.what() << "\n";
  } catch (const std::exception& error) {
    std::cerr << "quire-devshop: It cannot go on: " << error.what() << "\n";
  }
  return 2;
}
