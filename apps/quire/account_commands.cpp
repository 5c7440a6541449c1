#include <bsd/readpassphrase.h>
#include <string.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <iostream>
#include <memory>
#include <tuple>

#include "catalogue.h"
#include "commands.h"
#include "interrupts.h"
#include "json_output.h"
#include "screen.h"
#include "state_file.h"
#include "table.h"
#include "text.h"

namespace app {
namespace {

using Result = store::ServerApi::Result;

template <typename Id>
struct Field {
  const char* key;
  const char* label;
  Id id;
};

template <typename Data>
void PrintFields(const Data& data, const std::vector<Field<typename Data::Fields>>& fields,
                 bool as_json) {
  Json json = Json::object();
  std::vector<std::pair<std::string, Cell>> details;
  for (const auto& field : fields) {
    const std::string text = data[field.id];
    json[field.key] = StringOrNull(text);
    details.emplace_back(field.label, text);
  }
  if (as_json) return PrintJson(json);
  const Screen& out = Screen::Out();
  out.Write(RenderDetails(out.WidthLimit(), details));
}

/// The library reports success when it could not store the credentials.
void CheckStored(store::StoreManager& manager, const std::string& user,
                 const std::string& password) {
  if (manager.getLogin() == user && manager.getPassword() == password) return;
  throw CommandError(kDevice,
                     "The shop accepted user and password, but the device did not store them. "
                     "Check the permissions of its configuration file, then use \"quire login\".");
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

/// A secret that is wiped from memory on destruction.
class Password {
 public:
  explicit Password(std::string value) : value_(std::move(value)) {}
  ~Password() { explicit_bzero(value_.data(), value_.capacity()); }
  Password(const Password&) = delete;
  Password& operator=(const Password&) = delete;

  const std::string& value() const { return value_; }

 private:
  std::string value_;
};

std::string PromptForPassword(const std::string& prompt) {
  std::array<char, 1024> buffer{};
  const InterruptHandler interrupts;  // at the prompt, Ctrl-C ends the command but not the shell
  const char* typed = readpassphrase((MakePrintable(prompt) + ": ").c_str(), buffer.data(),
                                     buffer.size(), RPP_ECHO_OFF);
  std::string text = typed == nullptr ? std::string() : std::string(typed);
  explicit_bzero(buffer.data(), buffer.size());
  if (InterruptHandler::Caught())
    throw CommandError(kInterrupted, "Stopped before anything was sent.");
  return text;
}

/// Reads a password: typed on the terminal without echo, or the next line of a standard input that
/// is not a terminal. Throws CommandError when there is none.
/// \param twice  on the terminal, asks a second time and compares.
Password ReadPassword(const std::string& prompt, bool twice = false) {
  const bool on_terminal = isatty(STDIN_FILENO) != 0;
  std::string text;
  if (on_terminal) {
    text = PromptForPassword(prompt);
  } else {
    std::getline(std::cin, text);
    if (text.ends_with('\r')) text.pop_back();
  }
  if (text.empty()) {
    throw CommandError(kUsage,
                       "No password was given. Type it when asked, or pass it as a line of the "
                       "standard input.");
  }
  if (on_terminal && twice && Password(PromptForPassword("Repeat the password")).value() != text) {
    explicit_bzero(text.data(), text.size());
    throw CommandError(kUsage, "The two passwords differ. Try again.");
  }
  return Password(std::move(text));
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
  CheckStored(manager, user, password.value());
  const std::string shop = manager.GetShopName();
  Screen::Out().PrintLine("Logged in" + (shop.empty() ? "" : " to " + shop) + " as " + user + ".");
  session.BeginCommand();  // an earlier user's order says nothing about this one's
  session.SettleOpenOrder();
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
  if (manager.GetLastFailure().kind == store::Failure::kUnreadableResponse) {
    throw ToCommandError("Whether you are registered is unknown", manager.GetLastFailure(),
                         "Try \"quire login\".");
  }
  CheckStored(manager, customer.email, password.value());
  Screen::Out().PrintLine(result.message_.empty() ? "Registered." : result.message_);
  if (manager.NewSession(nullptr) == 0) {
    Screen::Out().PrintLine("Logged in as " + customer.email + ".");
  } else {
    const std::string advice = "Do what the shop asks for, then log in with \"quire login\".";
    Screen::Out().PrintLine(
        ToCommandError("You are not logged in yet", manager.GetLastFailure(), advice).what());
  }
}

/// Removes what the device's files keep about a user. Downloaded books stay.
void ForgetUser(const std::string& user) {
  const std::string directory = kStateDirectory;
  bool is_done = ReadOrderJournal().RemoveUser(user);
  const auto remove = [&](const std::string& path) {
    std::error_code error;
    std::filesystem::remove_all(path, error);
    is_done = is_done && !error;
  };
  for (const char* name : {"quire_config.cfg", "quire_downloads.json", "quire_history",
                           "quire_saved_books.json", "quire_titles.json"}) {
    remove(directory + name);
  }
  remove(kCatalogueCache);
  if (is_done) return;
  throw CommandError(
      kDevice, "Not everything could be removed. Check the permissions of " + directory + ".");
}

void LogOut(Session& session, bool forget) {
  store::StoreManager& manager = session.LoggedInStore();
  const std::string user = manager.getLogin();
  session.SettleOpenOrder();
  if (forget && ReadOrderJournal().FindOpen(user)) {
    throw CommandError(kFailed,
                       "An order is open, and forgetting it could cost you its books. End it first "
                       "with \"quire orders check\" or \"quire orders cancel\".");
  }
  manager.LogOut();
  session.order_is_priced = false;
  session.cart_numbering.clear();
  if (forget) {
    ForgetUser(user);
    return Screen::Out().PrintLine(
        "Logged out. The device keeps your downloaded books, but no user name, password, cart, "
        "orders, lists or history of yours; the shop was not told.");
  }
  Screen::Out().PrintLine(
      "Logged out, and the cart is empty now. The shop is not told, and the device keeps user name "
      "and password for the next start; \"quire logout --forget\" removes them.");
}

void ShowAccount(Session& session, bool as_json) {
  using Data = store::UserData;
  static const std::vector<Field<Data::Fields>> kFields{
      {"user_id", "Customer", Data::kUserId},
      {"title", "Title", Data::kTitle},
      {"name", "Name", Data::kName},
      {"surname", "Surname", Data::kSurname},
      {"company", "Company", Data::kCompany},
      {"street", "Street", Data::kStreet},
      {"zip", "Postcode", Data::kZip},
      {"city", "City", Data::kCity},
      {"country", "Country", Data::kCountry},
      {"email", "E-mail", Data::kEmail},
      {"phone", "Phone", Data::kPhone},
      {"mobile", "Mobile", Data::kMobile},
      {"birthday", "Birthday", Data::kBirthday},
      {"pay_method", "Pays by", Data::kPayMethod}};
  store::StoreManager& manager = session.LoggedInStore();
  const auto [result, data] = manager.GetUserData();
  if (result.code_ != store::ServerApi::kOk || manager.GetLastFailure()) {
    throw ToCommandError("Your account cannot be shown", manager.GetLastFailure());
  }
  PrintFields(data, kFields, as_json);
}

void ShowShop(Session& session, bool as_json) {
  using Config = store::SwitchboardConfig;
  static const std::vector<Field<Config::Fields>> kFields{
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
  PrintFields(session.Config(), kFields, as_json);
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

  CLI::App* logout = cli.add_subcommand("logout", "End the session and empty the cart");
  const auto forget = std::make_shared<bool>(false);
  logout->add_flag("--forget", *forget, "Also remove what the device remembers of you");
  logout->callback([&session, forget] { LogOut(session, *forget); });

  AddListing(cli, "account", "Show your profile",
             [&session](bool as_json) { ShowAccount(session, as_json); });
  AddListing(cli, "shop", "Show which shop this is, and its pages",
             [&session](bool as_json) { ShowShop(session, as_json); });
}

}  // namespace app
