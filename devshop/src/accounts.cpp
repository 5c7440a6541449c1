#include "accounts.h"

#include <algorithm>

#include "crypto.h"
#include "start_error.h"
#include "unicode.h"

namespace devshop {
namespace {

constexpr int kFirstUserId = 10'001;

std::string GetString(const Json& json, const char* name) {
  const auto found = json.find(name);
  return found != json.end() && found->is_string() ? found->get<std::string>() : std::string();
}

std::vector<BoughtBook> ReadBooks(const Json& json, const Catalogue& catalogue) {
  std::vector<BoughtBook> books;
  for (const Json& book : json) {
    const std::string ean = GetString(book, "ean");
    if (!catalogue.Find(ean)) continue;
    books.push_back({ean, GetString(book, "date"), GetString(book, "orderId")});
  }
  if (books.empty()) {
    const auto& titles = catalogue.titles();
    for (std::size_t i = 0; i < std::min(json.size(), titles.size()); ++i) {
      books.push_back({titles[i].ean, GetString(json[i], "date"), GetString(json[i], "orderId")});
    }
  }
  return books;
}

}  // namespace

bool Account::Owns(const std::string& ean) const {
  return std::any_of(books.begin(), books.end(),
                     [&](const BoughtBook& book) { return book.ean == ean; });
}

void Account::AddBook(const BoughtBook& book) {
  if (!Owns(book.ean)) books.push_back(book);
}

void Accounts::Load(const Json& json, const Catalogue& catalogue, const std::string& where) {
  const auto invalid = [&](const std::string& what) {
    return StartError(where + " " + what + "; correct it, or name another with --accounts.");
  };
  const auto list = json.is_object() ? json.find("accounts") : json.end();
  if (list == json.end() || !list->is_array()) throw invalid("has no array \"accounts\"");
  for (const Json& entry : *list) {
    const std::string number = "has in account " + std::to_string(accounts_.size() + 1);
    if (!entry.is_object() || GetString(entry, "email").empty())
      throw invalid(number + " no \"email\"");
    const Json profile = entry.value("profile", Json::object());
    const Json books = entry.value("books", Json::array());
    if (!profile.is_object()) throw invalid(number + " a \"profile\" that is not an object");
    if (!books.is_array()) throw invalid(number + " \"books\" that are not an array");
    Account& account = Add(GetString(entry, "email"), GetString(entry, "password"));
    account.profile.update(profile);
    account.books = ReadBooks(books, catalogue);
  }
}

Json Accounts::ToJson() const {
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

Account* Accounts::Find(const std::string& email) {
  const auto found = accounts_.find(FoldCase(email));
  return found == accounts_.end() ? nullptr : &found->second;
}

Account& Accounts::Add(const std::string& email, const std::string& password) {
  const auto user_id = std::to_string(kFirstUserId + static_cast<int>(accounts_.size()));
  Account& account = accounts_[FoldCase(email)];
  account = {email, password, {{"userId", user_id}, {"email", email}}, {}};
  return account;
}

bool Accounts::Owns(const std::string& ean, const std::function<bool(const Account&)>& fits) const {
  return std::any_of(accounts_.begin(), accounts_.end(), [&](const auto& entry) {
    return entry.second.Owns(ean) && fits(entry.second);
  });
}

std::string Accounts::LogIn(const Account& account) {
  std::string session = RandomHex(16);
  sessions_[session] = FoldCase(account.email);
  return session;
}

Account* Accounts::FindBySession(const std::string& session) {
  const auto found = sessions_.find(session);
  return found == sessions_.end() ? nullptr : Find(found->second);
}

}  // namespace devshop
