#ifndef DEVSHOP_ACCOUNTS_H_
#define DEVSHOP_ACCOUNTS_H_

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "catalogue.h"
#include "text.h"

namespace devshop {

struct BoughtBook {
  std::string ean;
  std::string date;  ///< "YYYY-MM-DD HH:MM:SS", UTC
  std::string order_id;
};

/// A customer. The profile holds what `/getUserData` answers, every value a text.
struct Account {
  std::string email;
  std::string password;
  Json profile = Json::object();
  std::vector<BoughtBook> books;

  bool Owns(const std::string& ean) const;
  /// A title belongs to a customer once, however often it is bought.
  void AddBook(const BoughtBook& book);
};

/// The customers and who of them is logged in. The caller locks.
class Accounts {
 public:
  /// Reads `{"accounts": [{"email", "password", "profile", "books": [{"ean", "date",
  /// "orderId"}]}]}`. Bought titles that the catalogue lacks are dropped; a customer who would lose
  /// all of them so owns the catalogue's first titles instead, so that a directory of one's own has
  /// buyers at once. Throws StartError, which begins with `where`.
  void Load(const Json& json, const Catalogue& catalogue, const std::string& where);
  Json ToJson() const;

  /// Null when there is none; e-mail addresses compare without case. The pointer stays valid.
  Account* Find(const std::string& email);
  Account& Add(const std::string& email, const std::string& password);

  /// Whether a customer who fits owns the title.
  bool Owns(const std::string& ean, const std::function<bool(const Account&)>& fits) const;

  /// A new session; a customer may have many.
  std::string LogIn(const Account& account);
  void LogOut(const std::string& session) { sessions_.erase(session); }
  /// Null when nobody has that session.
  Account* FindBySession(const std::string& session);

 private:
  std::map<std::string, Account> accounts_;  // by folded e-mail
  std::map<std::string, std::string> sessions_;
};

}  // namespace devshop

#endif  // DEVSHOP_ACCOUNTS_H_
