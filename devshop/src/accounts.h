#ifndef DEVSHOP_ACCOUNTS_H_
#define DEVSHOP_ACCOUNTS_H_

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "catalogue.h"
#include "json.h"

namespace devshop {

struct BoughtBook {
  std::string ean;
  std::string date;  ///< "YYYY-MM-DD HH:MM:SS", UTC
  std::string order_id;
};

/// A customer. The profile holds what `/getUserData` answers, every value a string.
struct Account {
  std::string email;
  std::string password;
  Json profile = Json::object();
  std::vector<BoughtBook> books;

  bool Owns(const std::string& ean) const;
  /// Adds a bought book unless the customer owns it already.
  void AddBook(const BoughtBook& book);
};

/// The customers and their sessions. Not thread-safe: the caller locks Shop::mutex.
class Accounts {
 public:
  /// Reads `{"accounts": [{"email", "password", "profile", "books": [{"ean", "date",
  /// "orderId"}]}]}`. Books that the catalogue lacks are dropped; a customer who would lose all of
  /// them owns as many of the catalogue's first titles instead. Throws StartError, which begins
  /// with `where`.
  void Load(const Json& json, const Catalogue& catalogue, const std::string& where);
  Json ToJson() const;

  /// Null when there is none. Addresses compare without case. The pointer stays valid.
  Account* Find(const std::string& email);
  Account& Add(const std::string& email, const std::string& password);

  /// True when a customer for whom `fits` is true owns the title.
  bool Owns(const std::string& ean, const std::function<bool(const Account&)>& fits) const;

  /// Opens a session and returns its id. A customer may have several.
  std::string LogIn(const Account& account);
  void LogOut(const std::string& session) { sessions_.erase(session); }
  /// The customer of a session; null when there is none.
  Account* FindBySession(const std::string& session);

 private:
  std::map<std::string, Account> accounts_;  // by folded e-mail
  std::map<std::string, std::string> sessions_;
};

}  // namespace devshop

#endif  // DEVSHOP_ACCOUNTS_H_
