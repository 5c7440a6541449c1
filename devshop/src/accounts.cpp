#include "accounts.h"

#include <algorithm>

#include "crypto.h"
#include "start_error.h"

namespace devshop {
namespace {

constexpr int kFirstUserId = 10'001;

std::string text(const Json& json, const char* name) {
  const auto found = json.find(name);
  return found != json.end() && found->is_string() ? found->get<std::string>() : std::string();
}

std::vector<BoughtBook> read_books(const Json& json, const Catalogue& catalogue) {
  std::vector<BoughtBook> books;
  for (const Json& book : json) {
    if (book.is_object() && catalogue.find(text(book, "ean"))) {
      books.push_back({text(book, "ean"), text(book, "date"), text(book, "orderId")});
    }
  }
  if (books.empty()) {
    const auto& titles = catalogue.titles();
    for (std::size_t i = 0; i < std::min(json.size(), titles.size()); ++i) {
      books.push_back({titles[i].ean, text(json[i], "date"), text(json[i], "orderId")});
    }
  }
  return books;
}

}  // namespace

bool Account::owns(const std::string& ean) const {
  return std::any_of(books.begin(), books.end(),
                     [&](const BoughtBook& book) { return book.ean == ean; });
}

void Account::own(const BoughtBook& book) {
  if (!owns(book.ean)) books.push_back(book);
}

void Accounts::load(const Json& json, const Catalogue& catalogue, const std::string& where) {
  const auto wrong = [&](const std::string& what) {
    return StartError(where + " " + what + "; correct it, or name another with --accounts.");
  };
  const auto list = json.is_object() ? json.find("accounts") : json.end();
  if (list == json.end() || !list->is_array()) throw wrong("has no array \"accounts\"");
  for (const Json& entry : *list) {
    const std::string number = "has in account " + std::to_string(accounts_.size() + 1);
    if (!entry.is_object() || text(entry, "email").empty()) throw wrong(number + " no \"email\"");
    const Json profile = entry.value("profile", Json::object());
    const Json books = entry.value("books", Json::array());
    if (!profile.is_object()) throw wrong(number + " a \"profile\" that is not an object");
    if (!books.is_array()) throw wrong(number + " \"books\" that are not an array");
    Account& account = add(text(entry, "email"), text(entry, "password"));
    account.profile.update(profile);
    account.books = read_books(books, catalogue);
  }
}

Json Accounts::to_json() const {
  Json list = Json::array();
  for (const auto& [key, account] : accounts_) {
    Json books = Json::array();
    for (const BoughtBook& book : account.books) {
      books.push_back({{"ean", book.ean}, {"date", book.date}, {"orderId", book.order_id}});
    }
    list.push_back({{"email", account.email},
                    {"password", account.password},
                    {"profile", account.profile},
                    {"books", std::move(books)}});
  }
  return list;
}

Account* Accounts::find(const std::string& email) {
  const auto found = accounts_.find(fold_case(email));
  return found == accounts_.end() ? nullptr : &found->second;
}

Account& Accounts::add(const std::string& email, const std::string& password) {
  const auto user_id = std::to_string(kFirstUserId + static_cast<int>(accounts_.size()));
  Account& account = accounts_[fold_case(email)];
  account = {email, password, {{"userId", user_id}, {"email", email}}, {}};
  return account;
}

bool Accounts::owns(const std::string& ean, const std::function<bool(const Account&)>& fits) const {
  return std::any_of(accounts_.begin(), accounts_.end(), [&](const auto& entry) {
    return entry.second.owns(ean) && fits(entry.second);
  });
}

std::string Accounts::log_in(const Account& account) {
  std::string session = random_hex(16);
  sessions_[session] = fold_case(account.email);
  return session;
}

Account* Accounts::of_session(const std::string& session) {
  const auto found = sessions_.find(session);
  return found == sessions_.end() ? nullptr : find(found->second);
}

}  // namespace devshop
