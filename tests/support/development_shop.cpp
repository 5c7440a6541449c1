#include "support/development_shop.h"

#include <httplib.h>
#include <json/reader.h>
#include <json/writer.h>

#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace tests {
namespace {

std::vector<std::string> Command(const std::vector<std::string>& options) {
  std::vector<std::string> command{QUIRE_DEVSHOP};
  command.insert(command.end(), options.begin(), options.end());
  return command;
}

}  // namespace

DevelopmentShop::DevelopmentShop(const std::vector<std::string>& options)
    : process_(Command(options)) {
  for (std::string line = process_.ReadLine(); line != "ready"; line = process_.ReadLine()) {
    const auto blank = line.find(' ');
    const std::string key = line.substr(0, blank);
    const std::string value = line.substr(blank + 1);
    if (key == "control") control_ = value;
    if (key == "ca") authority_file_ = value;
    if (key == "connect-to") setenv("TABULET_CONNECT_TO", value.c_str(), 1);
  }
  setenv("TABULET_CA_FILE", authority_file_.c_str(), 1);
}

void DevelopmentShop::Arm(const Json::Value& fault) {
  Control("/_faults", fault);
}

int DevelopmentShop::Delivered() {
  int delivered = 0;
  const Json::Value faults = Get("/_faults");
  for (const Json::Value& fault : faults["faults"]) delivered += fault["delivered"].asInt();
  return delivered;
}

void DevelopmentShop::Control(const std::string& path, const Json::Value& command) {
  httplib::Client client(control_);
  const auto answer = client.Post(
      path.c_str(), Json::writeString(Json::StreamWriterBuilder(), command), "application/json");
  if (!answer || answer->status >= 300) {
    throw std::runtime_error("the shop refused " + path + ": " + (answer ? answer->body : ""));
  }
}

std::vector<Json::Value> DevelopmentShop::Requests(const std::string& path_end) {
  std::vector<Json::Value> found;
  const Json::Value ledger = Get("/_requests");
  for (const Json::Value& request : ledger["requests"]) {
    const std::string path = request["path"].asString();
    if (path.size() >= path_end.size() &&
        path.compare(path.size() - path_end.size(), path_end.size(), path_end) == 0) {
      found.push_back(request);
    }
  }
  return found;
}

Json::Value DevelopmentShop::Get(const std::string& path) {
  httplib::Client client(control_);
  const auto answer = client.Get(path.c_str());
  if (!answer || answer->status != 200) throw std::runtime_error("the shop has no " + path);
  Json::Value value;
  std::istringstream(answer->body) >> value;
  return value;
}

}  // namespace tests
