#include "store_manager.h"

#include <sys/time.h>

#include <cstdint>
#include <map>
#include <optional>
#include <utility>

#include "addresses.h"
#include "atomic_file.h"
#include "book_files.h"
#include "book_properties.h"
#include "cart_changes.h"
#include "cart_file.h"
#include "device_paths.h"
#include "download_queue.h"
#include "first_failure.h"
#include "json.h"
#include "pending_payment.h"
#include "purchased_books.h"
#include "saltmoor/utilities/book_store_auth_configs.h"
#include "switchboard_config_fields.h"
#include "tabulet.h"

namespace saltmoor::quire {
namespace {

constexpr std::uint32_t kMaxConfigurationAge_s = 1800;

/// The keys of the configuration file.
namespace config_keys {
constexpr char kUserName[] = "user_name";
constexpr char kPassword[] = "password";
constexpr char kSessionId[] = "session_id";
constexpr char kSwitchboardUpdateTime[] = "switchboard_update_time";
}  // namespace config_keys

/// The open configuration file, closed by CloseConfig or CloseConfigNoSave. Null when it cannot be
/// opened; reads from null return the defaults.
using DeviceConfig = std::unique_ptr<iconfig_s, decltype(&CloseConfig)>;

DeviceConfig OpenDeviceConfig(decltype(&CloseConfig) close) {
  return {OpenConfig(paths::kConfig, nullptr), close};
}

DeviceConfig OpenConfigOrRecord(decltype(&CloseConfig) close, FirstFailure& failure) {
  DeviceConfig config = OpenDeviceConfig(close);
  if (!config) failure.Record(Failure::kConfigFile);
  return config;
}

void SaveOrRecord(iconfig_s* config, FirstFailure& failure) {
  if (SaveConfig(config) == 0) failure.Record({Failure::kNotSaved, 0, 0, {}, paths::kConfig, 0});
}

int NowInSeconds() {
  timeval now{};
  gettimeofday(&now, nullptr);
  return static_cast<int>(now.tv_sec);
}

// Compatibility: a time in the future is very long ago, since the difference is unsigned.
bool IsFresh(int update_time_s, int now_s) {
  return static_cast<std::uint32_t>(now_s) - static_cast<std::uint32_t>(update_time_s) <=
         kMaxConfigurationAge_s;
}

std::string BaseName(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

void StoreCredentials(iconfig_s* config, const std::string& session_id, const std::string& user,
                      const std::string& password, FirstFailure& failure) {
  WriteString(config, config_keys::kSessionId, session_id.c_str());
  WriteString(config, config_keys::kUserName, user.c_str());
  WriteSecret(config, config_keys::kPassword, password.c_str());
  SaveOrRecord(config, failure);
}

}  // namespace

StoreManager::StoreManager()
    : failure_(std::make_unique<FirstFailure>(server_api_.GetLastFailure())),
      purchased_(std::make_unique<PurchasedBooks>(server_api_, *failure_)),
      downloads_(std::make_unique<DownloadQueue>(*failure_)),
      payment_(std::make_unique<PendingPayment>(server_api_, *failure_)) {}

StoreManager::~StoreManager() = default;

StoreManager& StoreManager::Instance() {
  static StoreManager manager;
  return manager;
}

int StoreManager::Init() {
  const FirstFailure::Call call(*failure_);
  const DeviceConfig config = OpenConfigOrRecord(CloseConfig, *failure_);
  if (!config) return -1;

  const int update_time_s = ReadInt(config.get(), config_keys::kSwitchboardUpdateTime, 0);
  const int now_s = NowInSeconds();
  const bool fresh = IsFresh(update_time_s, now_s);
  Json::Value cached;
  if (fresh && ParseJson(ReadFile(paths::kSwitchboard), cached)) {
    switchboard_ = SwitchboardConfig::Parse(cached);
    server_api_.SetConfig(switchboard_);
    if (IsEmpty(switchboard_)) failure_->Record(Failure::kUnreadableResponse);
  } else {
    if (fresh) MarkDamaged(paths::kSwitchboard);
    if (ConfigFromServer() != 0) return -1;
    WriteInt(config.get(), config_keys::kSwitchboardUpdateTime, fresh ? NowInSeconds() : now_s);
    SaveOrRecord(config.get(), *failure_);
  }

  // Compatibility: a stored session counts as logged in, but is not sent to the shop.
  session_id_ = std::string(ReadString(config.get(), config_keys::kSessionId, ""));
  const bool log_in_succeeded = NewSession(config.get()) == 0;
  const bool log_in_failed = static_cast<bool>(failure_->Get());
  cart_.Load();
  purchased_->Fetch();
  const bool without_credentials = !log_in_succeeded && !log_in_failed;
  if (without_credentials && !IsLoggedIn()) failure_->ForgetRefusal();
  return 0;
}

int StoreManager::ConfigFromServer() {
  const FirstFailure::Call call(*failure_);
  ServerApi::Result result;
  // Compatibility: a failed fetch leaves none here, while calls use the last good one.
  std::tie(result, switchboard_) =
      failure_->RecordCall(server_api_.CallSwitchboard(addresses::kSwitchboard));
  if (result.code_ != ServerApi::kOk) return -1;
  server_api_.SetConfig(switchboard_);
  const std::string cache = SerializeJson(switchboard_.ToJson());
  failure_->RecordSave(paths::kSwitchboard, ReplaceFile(paths::kSwitchboard, cache).error);
  return 0;
}

int StoreManager::NewSession(iconfig_s* config) {
  const FirstFailure::Call call(*failure_);
  DeviceConfig own(nullptr, CloseConfig);
  if (config == nullptr) {
    own = OpenConfigOrRecord(CloseConfig, *failure_);
    config = own.get();
  }
  const std::string user = ReadString(config, config_keys::kUserName, "");
  const std::string password = ReadSecret(config, config_keys::kPassword, "");
  if (user.empty() || password.empty()) {
    if (!failure_->IsNested()) failure_->Record(Failure::kNoCredentials);
    return -1;
  }
  if (failure_->RecordCall(server_api_.LogIn(user, password)).code_ != ServerApi::kOk) return -1;

  session_id_ = server_api_.GetSessionId();
  WriteString(config, config_keys::kSessionId, session_id_.c_str());
  SaveOrRecord(config, *failure_);
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
  return failure_->RecordCall(server_api_.GetUserData());
}

int StoreManager::RegisterPushNotification() {
  return 0;
}

ServerApi::Result StoreManager::LogIn(const std::string& user, const std::string& password) {
  const FirstFailure::Call call(*failure_);
  const DeviceConfig config = OpenConfigOrRecord(CloseConfigNoSave, *failure_);
  // Compatibility: without the configuration file nothing is done, and that is a success.
  if (!config) return ServerApi::Result(ServerApi::kOk);

  ServerApi::Result result = failure_->RecordCall(server_api_.LogIn(user, password));
  if (result.code_ != ServerApi::kOk) return result;
  session_id_ = server_api_.GetSessionId();
  StoreCredentials(config.get(), session_id_, user, password, *failure_);
  purchased_->Fetch();
  return result;
}

ServerApi::Result StoreManager::Register(const std::string& email, const std::string& password,
                                         const std::string& name, const std::string& lastname,
                                         const std::string& title) {
  const FirstFailure::Call call(*failure_);
  const DeviceConfig config = OpenConfigOrRecord(CloseConfigNoSave, *failure_);
  // Compatibility: as in LogIn.
  if (!config) return ServerApi::Result(ServerApi::kOk);

  ServerApi::Result result =
      failure_->RecordCall(server_api_.Register(email, password, name, lastname, title));
  if (result.code_ != ServerApi::kOk) return result;
  // Compatibility: registering opens no session; this is the one of an earlier log-in, if any.
  session_id_ = server_api_.GetSessionId();
  StoreCredentials(config.get(), session_id_, email, password, *failure_);
  purchased_->Fetch();
  if (!IsLoggedIn()) failure_->ForgetRefusal();
  return result;
}

// Compatibility: the shop is not notified and the stored credentials stay.
void StoreManager::LogOut() {
  const FirstFailure::Call call(*failure_);
  utilities::BookStoreAuthConfigs::logOut();
  session_id_.clear();
  server_api_.SetSessionId(session_id_);
  cart_.orderItems.clear();
  CartFile file(cart_, *failure_);
  file.Save();
  file.Save();  // Compatibility: saved twice, as in AddToCart and RemoveFromCart.
  purchased_->Clear();
  downloads_->Clear();
}

std::vector<Book> StoreManager::LoadPurchased() {
  const FirstFailure::Call call(*failure_);
  purchased_->Fetch();
  return purchased_->Get();
}

ServerApi::Result StoreManager::AddToCart(const Book& book) {
  const FirstFailure::Call call(*failure_);
  CartFile file(cart_, *failure_);
  if (AddItem(cart_, book)) file.Save();
  file.Save();
  return ServerApi::Result(ServerApi::kOk);
}

int StoreManager::RemoveFromCart(const Book& book) {
  const FirstFailure::Call call(*failure_);
  if (RemoveItem(cart_, book)) CartFile(cart_, *failure_).Save();
  return 0;
}

int StoreManager::RemoveFromCart(unsigned int index) {
  const FirstFailure::Call call(*failure_);
  CartFile file(cart_, *failure_);
  if (RemoveItem(cart_, index)) file.Save();
  file.Save();  // Compatibility: also when the index is out of range.
  return 0;
}

// Compatibility: a success whatever the shop answered; the cart shows how it went.
std::tuple<ServerApi::Result, std::vector<Book>> StoreManager::CheckOut() {
  const FirstFailure::Call call(*failure_);
  NewSession(nullptr);

  std::map<std::string, int> wanted;
  for (const Book& item : cart_.orderItems) wanted[GetString(item, Book::kEan)] = 1;
  const auto order_id =
      std::get<std::string>(failure_->RecordCall(server_api_.AddArrayToCart(std::move(wanted))));

  const Cart old_cart = cart_;
  cart_ = std::get<Cart>(failure_->RecordCall(server_api_.GetCart(order_id)));
  cart_.SetItemsCurrency(GetString(old_cart.GetItem(0), Book::kCurrency));

  std::vector<Book> dropped;
  for (const Book& item : old_cart.orderItems) {
    if (!cart_.IsContain(GetString(item, Book::kEan))) dropped.push_back(item);
  }
  return {ServerApi::Result(ServerApi::kOk), std::move(dropped)};
}

ServerApi::Result StoreManager::StartPayment(const std::string& pay_method) {
  const FirstFailure::Call call(*failure_);
  return payment_->Start(cart_.orderId, pay_method);
}

ServerApi::Result StoreManager::CheckPaymentResult() {
  const FirstFailure::Call call(*failure_);
  ServerApi::Result result = payment_->Complete();
  if (result.code_ == ServerApi::kOk) {
    cart_.orderItems.clear();
    CartFile(cart_, *failure_).Save();
    purchased_->Fetch();
  }
  return result;
}

int StoreManager::CheckOrderIfNeeded() {
  const FirstFailure::Call call(*failure_);
  if (!payment_->Check()) return -1;
  purchased_->Fetch();
  return 0;
}

BookStatus StoreManager::GetBookStatusById(const std::string& id) {
  return GetBookStatus(BaseName(id));
}

BookStatus StoreManager::GetBookStatus(const std::string& ean) {
  // Compatibility: the cart comes before everything, even for a downloaded book.
  if (cart_.IsContain(ean)) return {BookStatus::kInCart, {}, 0};
  const Book* const book = purchased_->Find(ean);
  if (book == nullptr) return {BookStatus::kNotPurchased, {}, 0};
  if (std::string path = GetBookFile(*book); !path.empty()) {
    return {BookStatus::kDownloaded, std::move(path), 0};
  }
  // Compatibility: while there is no current book, one without an EAN counts as downloading.
  if (GetString(downloads_->GetCurrentBook(), Book::kEan) != ean) {
    return {BookStatus::kPurchased, {}, 0};
  }
  return {BookStatus::kDownloading, {}, downloads_->GetProgress()};
}

int StoreManager::DownloadBookById(const std::string& id) {
  const FirstFailure::Call call(*failure_);
  const Book* const book = purchased_->Find(BaseName(id));
  if (book == nullptr) return 0;
  downloads_->Add(*book);
  return CheckDownloadState();
}

int StoreManager::CheckDownloadState() {
  const FirstFailure::Call call(*failure_);
  return downloads_->Advance() ? 1 : 0;
}

const Cart& StoreManager::GetCart() const {
  return cart_;
}

const std::vector<Book>& StoreManager::GetPurchased() const {
  return purchased_->Get();
}

const std::string& StoreManager::GetOrderDatePlaced() const {
  return payment_->GetOrderDatePlaced();
}

bool StoreManager::IsPurchasedKnown() const {
  return purchased_->IsKnown();
}

const SwitchboardConfig& StoreManager::GetConfig() const {
  return server_api_.GetConfig();
}

const std::string& StoreManager::GetSavedPath() const {
  return downloads_->GetSavedPath();
}

const Failure& StoreManager::GetLastFailure() const {
  return failure_->Get();
}

}  // namespace saltmoor::quire
