#include "support/development_shop.h"

#include <gtest/gtest.h>
#include <httplib.h>

#include <csignal>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace tests {
namespace {

httplib::Client ControlClient(const DevelopmentShop& shop) {
  httplib::Client client(shop.Address("control"));
  client.set_bearer_token_auth(shop.Address("token"));
  return client;
}

}  // namespace

DevelopmentShop::DevelopmentShop(const Command& options)
    : process_(Command{QUIRE_DEVSHOP} + options) {
  if (!process_.WaitForOutput("\nready\n")) {
    throw std::runtime_error("the shop does not start: " + process_.Wait().err);
  }
  std::istringstream lines(process_.out());
  for (std::string key, value; lines >> key >> std::ws && std::getline(lines, value);) {
    addresses_[key] = value;
  }
}

DevelopmentShop::~DevelopmentShop() {
  if (runs_) Stop();
}

void DevelopmentShop::Announce() const {
  setenv("TABULET_CONNECT_TO", Address("connect-to").c_str(), 1);
  setenv("TABULET_CA_FILE", Address("ca").c_str(), 1);
}

Json DevelopmentShop::Control(const std::string& path, const Json& instruction, int status) const {
  const auto answer = ControlClient(*this).Post(path, instruction.dump(), "application/json");
  EXPECT_TRUE(answer && answer->status == status) << (answer ? answer->body : "no answer");
  return answer ? Json::parse(answer->body) : Json();
}

Json DevelopmentShop::Control(const std::string& path) const {
  const auto answer = ControlClient(*this).Get(path);
  EXPECT_TRUE(answer) << path;
  return answer ? Json::parse(answer->body) : Json();
}

std::vector<Json> DevelopmentShop::Requests(const std::string& path_end) const {
  std::vector<Json> found;
  const Json ledger = Control("/_requests");
  for (const Json& request : ledger["requests"]) {
    if (request["path"].get<std::string>().ends_with(path_end)) found.push_back(request);
  }
  return found;
}

int DevelopmentShop::Stop() {
  runs_ = false;
  process_.Kill(SIGTERM);
  return process_.Wait().exit_code;
}

}  // namespace tests
