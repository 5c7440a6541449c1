#include <exception>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>

#include "authority.h"
#include "configuration_service.h"
#include "control.h"
#include "data_directory.h"
#include "fault_injector.h"
#include "hosts.h"
#include "http_server.h"
#include "options.h"
#include "shop_site.h"
#include "start_error.h"

namespace devshop {
namespace {

void PrintAddresses(int shop, int config, int control, const std::string& token,
                    const std::filesystem::path& ca) {
  const auto address = [](int port) { return "127.0.0.1:" + std::to_string(port); };
  std::cout << "shop https://" << address(shop) << "\nconfig http://" << address(config)
            << "\ncontrol http://" << address(control) << "\ntoken " << token << "\nca "
            << ca.string() << "\nconnect-to " << kShopHost << ":443:" << address(shop) << ","
            << kConfigHost << ":80:" << address(config) << "," << kReturnHost
            << ":80:" << address(config) << "\nready" << std::endl;
}

void Run(const Options& options) {
  HttpServer server;
  const DataDirectory data(options.data);
  const TlsContext tls = CreateServerContext(data.path(), options.certificate);
  const Catalogue catalogue(options.books, options.min_titles);
  Shop shop(catalogue, options.accounts, data.state_file());
  FileServer files(shop);
  const OpdsSite opds(catalogue, options.opds);
  ConfigurationService configuration;
  RequestLog log(options.verbose);
  FaultInjector faults(log);
  Control control(shop, files, faults, log);

  const HttpServer::Handler shop_site = [&](const Request& request, Response& response) {
    ServeShop(shop, files, opds, request, response);
  };
  const HttpServer::Handler config_site = [&](const Request& request, Response& response) {
    if (request.path == ConfigurationService::kPath && request.method == "GET") {
      configuration.Handle(request, response);
    } else if (request.path == kReturnPath) {
      ServeReturnPage(response);
    } else {
      ServeNotFound(response);
    }
  };
  const int shop_number = server.Listen(options.shop_port, "--shop-port", tls.get(),
                                        [&](const Request& request, Response& response) {
                                          faults.Handle("shop", shop_site, request, response);
                                        });
  const int config_number = server.Listen(options.config_port, "--config-port", nullptr,
                                          [&](const Request& request, Response& response) {
                                            faults.Handle("config", config_site, request, response);
                                          });
  const int control_number = server.Listen(
      options.control_port, "--control-port", nullptr,
      [&](const Request& request, Response& response) { control.Handle(request, response); });
  control.set_port(control_number);
  PrintAddresses(shop_number, config_number, control_number, control.token(),
                 data.path() / "ca.pem");
  server.Run();
}

}  // namespace
}  // namespace devshop

int main(int argc, char** argv) {
  int exit_code = 0;
  const auto options = devshop::ParseOptions(argc, argv, &exit_code);
  if (!options) return exit_code;
  try {
    devshop::Run(*options);
    return 0;
  } catch (const devshop::StartError& error) {
    std::cerr << "quire-devshop: " << error.what() << "\n";
  } catch (const std::exception& error) {
    std::cerr << "quire-devshop: Cannot continue: " << error.what() << "\n";
  }
  return 2;
}
