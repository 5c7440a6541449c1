#ifndef TESTS_SYSTEM_DEVICE_WITH_SHOP_H_
#define TESTS_SYSTEM_DEVICE_WITH_SHOP_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>

#include "store_manager.h"
#include "support/development_shop.h"
#include "support/files.h"
#include "support/process.h"

namespace tests {

using saltmoor::quire::Book;
using saltmoor::quire::BookStatus;
using saltmoor::quire::ServerApi;
using saltmoor::quire::StoreManager;

inline const std::string kUser = "anna@quire.example";
inline const std::string kPassword = "secret";

inline std::string Ean(const Book& book) {
  return book.string_props.at(Book::kEan);
}

inline Book MakeBook(const std::string& ean) {
  Book book;
  book.string_props[Book::kEan] = ean;
  return book;
}

/// A development shop, and the shipped library on a new device, which Init has connected to it.
/// CTest runs each test in a process of its own, since a process has one StoreManager.
class DeviceWithShop : public testing::Test {
 protected:
  DeviceWithShop() { shop_.Announce(); }

  void SetUp() override { ASSERT_EQ(manager_.Init(), 0); }

  void LogIn() { ASSERT_EQ(manager_.LogIn(kUser, kPassword).code_, ServerApi::kOk); }

  /// The first bought book of a format.
  Book FindPurchased(const std::string& format) const {
    for (const Book& book : manager_.GetPurchased()) {
      if (book.string_props.at(Book::kEbookFormat) == format) return book;
    }
    throw std::runtime_error("the account has no " + format);
  }

  bool HasBought(const std::string& ean) const {
    const auto& books = manager_.GetPurchased();
    return std::any_of(books.begin(), books.end(),
                       [&](const Book& book) { return Ean(book) == ean; });
  }

  /// Downloads a book and waits for the end.
  BookStatus Download(const std::string& id) {
    manager_.DownloadBookById(id);
    EXPECT_TRUE(WaitUntil([&] { return manager_.CheckDownloadState() == 0; }));
    return manager_.GetBookStatusById(id);
  }

  DevelopmentShop shop_;
  StoreManager& manager_ = StoreManager::Instance();
};

}  // namespace tests

#endif  // TESTS_SYSTEM_DEVICE_WITH_SHOP_H_
