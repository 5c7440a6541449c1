#include "session.h"

#include <json/reader.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <tuple>

#include "command_error.h"
#include "device_log.h"
#include "screen.h"

namespace app {
namespace {

constexpr char kConfigFolder[] = "/mnt/ext1/system/config";
constexpr char kConfigFile[] = "/mnt/ext1/system/config/quire_config.cfg";
constexpr char kSwitchboardFile[] = "/mnt/ext1/system/config/switchboard.json";

CommandError DescribeInitFailure(const DeviceLog& log) {
  if (access(kConfigFolder, R_OK | W_OK | X_OK) != 0) {
    return {kDevice, std::string("This is no device: the folder ") + kConfigFolder +
                         " is missing or closed to you. Run quire through the launcher, as in "
                         "\"quire-device quire shop\"."};
  }
  if (access(kConfigFile, F_OK) == 0 && access(kConfigFile, R_OK | W_OK) != 0) {
    return {kDevice, std::string("The device's file ") + kConfigFile +
                         " cannot be opened. Give yourself the right to read and write it."};
  }
  return {kUnreachable, "The service that says which shop this is cannot be reached" +
                            log.Reason() + ". Check the network and try again."};
}

}  // namespace

store::StoreManager& Session::Store() {
  store::StoreManager& manager = store::StoreManager::Instance();
  if (is_up_) return manager;
  const DeviceLog log;
  const Spinner spinner("Asking the shop …");
  if (manager.Init() != 0) throw DescribeInitFailure(log);
  is_up_ = true;
  purchased_are_fresh_ = true;
  return manager;
}

store::StoreManager& Session::LoggedInStore() {
  store::StoreManager& manager = Store();
  if (!manager.IsLoggedIn()) {
    throw CommandError(kNotLoggedIn, "You are not logged in. Log in with \"quire login\".");
  }
  return manager;
}

const std::vector<store::Book>& Session::PurchasedBooks() {
  store::StoreManager& manager = LoggedInStore();
  const DeviceLog log;
  const Spinner spinner("Asking the shop …");
  if (!purchased_are_fresh_) manager.LoadPurchased();
  purchased_are_fresh_ = true;
  if (!manager.GetPurchased().empty()) return manager.GetPurchased();

  // An empty list may as well be a failure: the customer's profile tells the two apart.
  auto result = std::get<0>(manager.GetUserData());
  if (result.code_ != store::ServerApi::kOk && manager.NewSession(nullptr) == 0) {
    manager.LoadPurchased();
    result = std::get<0>(manager.GetUserData());
  }
  if (result.code_ == store::ServerApi::kOk) return manager.GetPurchased();
  purchased_are_fresh_ = false;
  if (result.message_.empty()) {
    throw CommandError(kUnreachable, "The shop cannot be reached" + log.Reason() +
                                         ". Check the network and try again.");
  }
  throw CommandError(kNotLoggedIn, "The shop no longer knows your session: \"" + result.message_ +
                                       "\". Log in again with \"quire login\".");
}

store::SwitchboardConfig Session::Config() {
  Store();
  std::ifstream file(kSwitchboardFile, std::ios::binary);
  Json::Value json;
  Json::Reader reader;
  if (!file || !reader.parse(file, json, false)) {
    throw CommandError(kDevice, std::string("The device's file ") + kSwitchboardFile +
                                    " cannot be read. Delete it and try again.");
  }
  return store::SwitchboardConfig::Parse(json);
}

std::string GetString(const store::Book& book, store::Book::StringProps property) {
  const auto found = book.string_props.find(property);
  return found == book.string_props.end() ? std::string() : found->second;
}

const store::Book* FindByEan(const std::vector<store::Book>& books, const std::string& ean) {
  const auto found = std::find_if(books.begin(), books.end(), [&](const store::Book& book) {
    return GetString(book, store::Book::kEan) == ean;
  });
  return found == books.end() ? nullptr : &*found;
}

}  // namespace app
