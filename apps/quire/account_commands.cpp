#include <unistd.h>

#include <iostream>
#include <memory>
#include <tuple>

#include "commands.h"
#include "json_output.h"
#include "password.h"
#include "screen.h"
#include "table.h"

namespace app {
namespace {

using Result = store::ServerApi::Result;

struct Field {
  const char* key;
  const char* label;
  int id;
};

void PrintFields(const std::vector<Field>& fields, const std::function<std::string(int)>& value,
                 bool as_json) {
  Json json = Json::object();
  std::vector<std::pair<std::string, Cell>> details;
  for (const Field& field : fields) {
    const std::string text = value(field.id);
    json[field.key] = StringOrNull(text);
    details.emplace_back(field.label, text);
  }
  if (as_json) return PrintJson(json);
  const Screen& out = Screen::Out();
  out.Write(RenderDetails(out.Width(), details));
}

/// The library reports success when it could not store the credentials.
void CheckStored(store::StoreManager& manager, const std::string& user) {
  if (manager.getLogin() == user) return;
  throw ToCommandError("User and password are not stored", {store::Failure::kConfigFile, 0, 0, {}});
}

std::string ReadUser(const std::string& stored) {
  if (!stored.empty()) return stored;
  if (!isatty(STDIN_FILENO)) {
    throw CommandError(kUsage,
                       "No user is stored on this device. Name one, as in \"quire login "
                       "anna@quire.example\".");
  }
  Screen::Out().Write("E-mail address: ");
  std::string user;
  std::getline(std::cin, user);
  if (user.empty())
    throw CommandError(kUsage, "No user was named. Try again with an e-mail address.");
  return user;
}

void LogIn(Session& session, std::string user) {
  store::StoreManager& manager = session.Store();
  if (user.empty()) user = ReadUser(manager.getLogin());
  const Password password = ReadPassword("Password for " + user);
  Result result;
  {
    const Spinner spinner("Logging in …");
    result = manager.LogIn(user, password.value());
  }
  if (result.code_ != store::ServerApi::kOk || !manager.IsLoggedIn()) {
    throw ToCommandError("You are not logged in", manager.GetLastFailure());
  }
  CheckStored(manager, user);
  const std::string shop = manager.GetShopName();
  Screen::Out().PrintLine("Logged in" + (shop.empty() ? "" : " to " + shop) + " as " + user + ".");
}

struct Customer {
  std::string email, name, last_name, title;
};

void Register(Session& session, const Customer& customer) {
  store::StoreManager& manager = session.Store();
  const Password password = ReadPassword("Password for " + customer.email, true);
  const Result result = manager.Register(customer.email, password.value(), customer.name,
                                         customer.last_name, customer.title);
  if (result.code_ != store::ServerApi::kOk) {
    throw ToCommandError("You are not registered", manager.GetLastFailure());
  }
  if (manager.GetLastFailure().kind == store::Failure::kUnreadableAnswer) {
    throw ToCommandError("Whether you are registered is unknown", manager.GetLastFailure(),
                         "Try \"quire login\".");
  }
  CheckStored(manager, customer.email);
  Screen::Out().PrintLine(result.message_.empty() ? "Registered." : result.message_);
  if (manager.NewSession(nullptr) == 0) {
    Screen::Out().PrintLine("Logged in as " + customer.email + ".");
  } else {
    const std::string advice = "Do what the shop asks for, then log in with \"quire login\".";
    Screen::Out().PrintLine(
        ToCommandError("You are not logged in yet", manager.GetLastFailure(), advice).what());
  }
}

void LogOut(Session& session) {
  store::StoreManager& manager = session.LoggedInStore();
  manager.LogOut();
  session.order_is_priced = false;
  Screen::Out().PrintLine(
      "Logged out, and the cart is empty now. The device keeps your user name and password, so the "
      "next start of quire logs in again.");
}

void ShowAccount(Session& session, bool as_json) {
  static const std::vector<Field> kFields{{"user_id", "Customer", store::UserData::kUserId},
                                          {"title", "Title", store::UserData::kTitle},
                                          {"name", "Name", store::UserData::kName},
                                          {"surname", "Surname", store::UserData::kSurname},
                                          {"company", "Company", store::UserData::kCompany},
                                          {"street", "Street", store::UserData::kStreet},
                                          {"zip", "Postcode", store::UserData::kZip},
                                          {"city", "City", store::UserData::kCity},
                                          {"country", "Country", store::UserData::kCountry},
                                          {"email", "E-mail", store::UserData::kEmail},
                                          {"phone", "Phone", store::UserData::kPhone},
                                          {"mobile", "Mobile", store::UserData::kMobile},
                                          {"birthday", "Birthday", store::UserData::kBirthday},
                                          {"pay_method", "Pays by", store::UserData::kPayMethod}};
  store::StoreManager& manager = session.LoggedInStore();
  const auto [result, data] = manager.GetUserData();
  if (result.code_ != store::ServerApi::kOk || manager.GetLastFailure()) {
    throw ToCommandError("Your account cannot be shown", manager.GetLastFailure());
  }
  PrintFields(
      kFields, [&](int id) { return data[static_cast<store::UserData::Fields>(id)]; }, as_json);
}

void ShowShop(Session& session, bool as_json) {
  using Config = store::SwitchboardConfig;
  static const std::vector<Field> kFields{
      {"name", "Shop", Config::kShopName},
      {"url", "Web site", Config::kShopUrl},
      {"partner", "Partner", Config::kPartner},
      {"client_id", "Client", Config::kClientId},
      {"store_id", "Store", Config::kStoreId},
      {"catalogue_url", "Catalogue", Config::kOpdsStartPage},
      {"help_url", "Help", Config::kHilfeUrl},
      {"terms_url", "Terms", Config::kAgbUrl},
      {"withdrawal_url", "Withdrawal", Config::kWiderrufsrechtUrl},
      {"privacy_url", "Privacy", Config::kDatenschutzUrl},
      {"imprint_url", "Imprint", Config::kImpressumUrl}};
  const Config& config = session.Config();
  PrintFields(
      kFields, [&](int id) { return config[static_cast<Config::Fields>(id)]; }, as_json);
}

}  // namespace

void AddAccountCommands(CLI::App& cli, Session& session) {
  const auto user = std::make_shared<std::string>();
  const auto customer = std::make_shared<Customer>();

  CLI::App* login = cli.add_subcommand("login", "Log in; the device remembers you");
  login->add_option("USER", *user, "E-mail address; the last user's when left out");
  login->callback([&session, user] { LogIn(session, *user); });

  CLI::App* register_command = cli.add_subcommand("register", "Open an account with the shop");
  register_command->add_option("EMAIL", customer->email, "E-mail address, the later user name")
      ->required();
  register_command->add_option("--name", customer->name, "First name")->required();
  register_command->add_option("--lastname", customer->last_name, "Last name")->required();
  register_command->add_option("--title", customer->title, "Title, such as Dr.");
  register_command->callback([&session, customer] { Register(session, *customer); });

  cli.add_subcommand("logout", "End the session and empty the cart")->callback([&session] {
    LogOut(session);
  });

  AddListing(cli, "account", "Show your profile",
             [&session](bool as_json) { ShowAccount(session, as_json); });
  AddListing(cli, "shop", "Show which shop this is, and its pages",
             [&session](bool as_json) { ShowShop(session, as_json); });
}

}  // namespace app
