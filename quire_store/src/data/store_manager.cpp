#include "store_manager.h"

#include <json/writer.h>
#include <sys/time.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>

#include "addresses.h"
#include "device_config.h"
#include "device_paths.h"
#include "first_failure.h"
#include "json_access.h"
#include "json_locale.h"
#include "saltmoor/utilities/book_store_auth_configs.h"
#include "whole_file.h"

namespace saltmoor::quire {
namespace {

constexpr std::uint32_t kConfigurationLife_s = 1800;

int NowInSeconds() {
  timeval now{};
  gettimeofday(&now, nullptr);
  return static_cast<int>(now.tv_sec);
}

// A time in the future counts as very long ago: the difference has no sign.
bool IsFresh(int update_time_s, int now_s) {
  return static_cast<std::uint32_t>(now_s) - static_cast<std::uint32_t>(update_time_s) <=
         kConfigurationLife_s;
}

bool ReadCachedConfiguration(Json::Value& json) {
  const auto content = ReadWholeFile(paths::kSwitchboard);
  return content && ParseJson(*content, json);
}

void CacheConfiguration(const SwitchboardConfig& config) {
  const DecimalPoints decimal_points;
  std::ostringstream out;
  out << config.ToJson();
  ReplaceWholeFile(paths::kSwitchboard, out.str());
}

void StoreCredentials(iconfig_s* config, const std::string& session_id, const std::string& user,
                      const std::string& password) {
  WriteString(config, config_keys::kSessionId, session_id.c_str());
  WriteString(config, config_keys::kUserName, user.c_str());
  WriteSecret(config, config_keys::kPassword, password.c_str());
  SaveConfig(config);
}

}  // namespace

StoreManager::StoreManager()
    : failure_(std::make_unique<FirstFailure>(server_api_)),
      downloader_(paths::kDownloads, nullptr) {}

StoreManager::~StoreManager() = default;

StoreManager& StoreManager::Instance() {
  static StoreManager manager;
  return manager;
}

int StoreManager::Init() {
  const FirstFailure::Call call(*failure_);
  const DeviceConfig config = OpenDeviceConfig(CloseConfig);
  if (!config) {
    failure_->Record(Failure::kConfigFile);
    return -1;
  }

  const int update_time_s = ReadInt(config.get(), config_keys::kSwitchboardUpdateTime, 0);
  const int now_s = NowInSeconds();
  const bool fresh = IsFresh(update_time_s, now_s);
  Json::Value cached;
  if (fresh && ReadCachedConfiguration(cached)) {
    switchboard_ = SwitchboardConfig::Parse(cached);
    server_api_.SetConfig(switchboard_);
  } else {
    if (ConfigFromServer() != 0) return -1;
    WriteInt(config.get(), config_keys::kSwitchboardUpdateTime, fresh ? NowInSeconds() : now_s);
    SaveConfig(config.get());
  }

  // Stands until a log-in replaces it, and is not sent before.
  session_id_ = std::string(ReadString(config.get(), config_keys::kSessionId, ""));
  NewSession(config.get());
  cart_.Load();
  LoadPurchased();
  return 0;
}

int StoreManager::ConfigFromServer() {
  const FirstFailure::Call call(*failure_);
  ServerApi::Result result;
  // A failed fetch leaves none here, while the calls go on with the last good one: meant so.
  std::tie(result, switchboard_) =
      failure_->Checked(server_api_.CallSwitchboard(addresses::kSwitchboard));
  if (result.code_ != ServerApi::kOk) return -1;
  server_api_.SetConfig(switchboard_);
  CacheConfiguration(switchboard_);
  return 0;
}

int StoreManager::NewSession(iconfig_s* config) {
  const FirstFailure::Call call(*failure_);
  DeviceConfig own(nullptr, CloseConfig);
  if (config == nullptr) {
    own = OpenDeviceConfig(CloseConfig);
    config = own.get();
    if (config == nullptr) failure_->Record(Failure::kConfigFile);
  }
  const std::string user = ReadString(config, config_keys::kUserName, "");
  const std::string password = ReadSecret(config, config_keys::kPassword, "");
  if (user.empty() || password.empty()) {
    failure_->Record(Failure::kNoCredentials);
    return -1;
  }
  if (failure_->Checked(server_api_.LogIn(user, password)).code_ != ServerApi::kOk) return -1;

  session_id_ = server_api_.GetSessionId();
  WriteString(config, config_keys::kSessionId, session_id_.c_str());
  SaveConfig(config);
  return 0;
}

bool StoreManager::IsLoggedIn() {
  return !session_id_.empty();
}

std::string StoreManager::getLogin() {
  const DeviceConfig config = OpenDeviceConfig(CloseConfigNoSave);
  return ReadString(config.get(), config_keys::kUserName, "");
}

std::string StoreManager::getPassword() {
  const DeviceConfig config = OpenDeviceConfig(CloseConfigNoSave);
  return ReadSecret(config.get(), config_keys::kPassword, "");
}

std::string StoreManager::GetShopName() {
  return switchboard_[SwitchboardConfig::kShopName];
}

std::string StoreManager::GetClientId() {
  return switchboard_[SwitchboardConfig::kClientId];
}

std::tuple<ServerApi::Result, UserData> StoreManager::GetUserData() {
  const FirstFailure::Call call(*failure_);
  return failure_->Checked(server_api_.GetUserData());
}

int StoreManager::RegisterPushNotification() {
  return 0;
}

ServerApi::Result StoreManager::LogIn(const std::string& user, const std::string& password) {
  const FirstFailure::Call call(*failure_);
  const DeviceConfig config = OpenDeviceConfig(CloseConfigNoSave);
  if (!config) {
    failure_->Record(Failure::kConfigFile);
    return ServerApi::Result(ServerApi::kOk);  // lenient, and meant so
  }

  ServerApi::Result result = failure_->Checked(server_api_.LogIn(user, password));
  if (result.code_ == ServerApi::kOk) {
    session_id_ = server_api_.GetSessionId();
    StoreCredentials(config.get(), session_id_, user, password);
    LoadPurchased();
  }
  return result;
}

ServerApi::Result StoreManager::Register(const std::string& email, const std::string& password,
                                         const std::string& name, const std::string& lastname,
                                         const std::string& title) {
  const FirstFailure::Call call(*failure_);
  const DeviceConfig config = OpenDeviceConfig(CloseConfigNoSave);
  if (!config) {
    failure_->Record(Failure::kConfigFile);
    return ServerApi::Result(ServerApi::kOk);  // lenient, and meant so
  }

  ServerApi::Result result =
      failure_->Checked(server_api_.Register(email, password, name, lastname, title));
  if (result.code_ == ServerApi::kOk) {
    // Registering opens no session: this is the one of an earlier log-in, if any.
    session_id_ = server_api_.GetSessionId();
    StoreCredentials(config.get(), session_id_, email, password);
    LoadPurchased();
  }
  return result;
}

// The server is not told and the stored credentials stay, so the next start logs in again: meant
// so.
void StoreManager::LogOut() {
  const FirstFailure::Call call(*failure_);
  utilities::BookStoreAuthConfigs::logOut();
  session_id_.clear();
  server_api_.SetSessionId(session_id_);
  cart_.Clear();
  cart_.Save();  // once more than Clear did: meant so, as in the two calls below
  purchased_.clear();
  purchased_known_ = false;
  download_queue_.clear();
  downloading_book_ = Book();
}

std::vector<Book> StoreManager::LoadPurchased() {
  const FirstFailure::Call call(*failure_);
  std::tie(std::ignore, purchased_) = failure_->Checked(server_api_.GetUserEbook());
  purchased_known_ = !server_api_.GetLastFailure();
  return purchased_;
}

ServerApi::Result StoreManager::AddToCart(const Book& book) {
  const FirstFailure::Call call(*failure_);
  cart_.AddToCart(book);
  cart_.Save();
  return ServerApi::Result(ServerApi::kOk);
}

int StoreManager::RemoveFromCart(const Book& book) {
  const FirstFailure::Call call(*failure_);
  cart_.RemoveFromCart(book);
  return 0;
}

int StoreManager::RemoveFromCart(unsigned int index) {
  const FirstFailure::Call call(*failure_);
  cart_.RemoveFromCart(index);
  cart_.Save();  // also when the index was out of range
  return 0;
}

const Cart& StoreManager::GetCart() const {
  return cart_;
}

const std::vector<Book>& StoreManager::GetPurchased() const {
  return purchased_;
}

const std::string& StoreManager::GetOrderDatePlaced() const {
  return order_date_placed_;
}

bool StoreManager::IsPurchasedKnown() const {
  return purchased_known_;
}

const SwitchboardConfig& StoreManager::GetConfig() const {
  return server_api_.GetConfig();
}

const std::string& StoreManager::GetSavedPath() const {
  return saved_path_;
}

const Failure& StoreManager::GetLastFailure() const {
  return failure_->Get();
}

}  // namespace saltmoor::quire
