#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <future>
#include <string>

#include "on_device.h"
#include "support/browser_hand.h"
#include "support/development_shop.h"

namespace {

using namespace on_device;
using namespace saltmoor::quire;

constexpr char kWanted[] = "9780000001351";
constexpr char kDevtoolsFile[] = "/tmp/devtools";
constexpr char kPaymentPage[] = "https://shop.quire.example/payment/";

void Keep(const std::string& screenshot) {
  const std::filesystem::path file = QUIRE_PAYMENT_SCREENSHOT;
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << screenshot;
}

void PayByCard(tests::BrowserHand& hand) {
  const std::string page = hand.Page(kPaymentPage);
  EXPECT_EQ(hand.Evaluate(page, "document.querySelector('.sum td:last-child').innerText"),
            "12,50 EUR");
  hand.Type(page, "card_holder", "Anna Quill");
  hand.Type(page, "card_number", "4111 1111 1111 1111");
  hand.Type(page, "card_expiry", "12/49");
  hand.Type(page, "card_cvc", "123");
  const std::string screenshot = hand.Screenshot(page);
  EXPECT_EQ(screenshot.substr(0, 4), "\x89PNG");
  Keep(screenshot);
  hand.Evaluate(page, "document.querySelector('[name=decision][value=approve]').click()");
}

TEST(InChromium, ACardTypedIntoTheShopsPageBuysTheBook) {
  setenv("QUIRE_BROWSER_HEADLESS", "1", 1);
  setenv("QUIRE_BROWSER_DEVTOOLS_FILE", kDevtoolsFile, 1);
  tests::DevelopmentShop shop;
  Json::Value orders;
  orders["pending_checks"] = 0;
  shop.Control("/_orders", orders);
  StoreManager& manager = StoreManager::Instance();
  ASSERT_EQ(manager.Init(), 0);
  ASSERT_EQ(manager.LogIn(kUser, kPassword).code_, ServerApi::kOk);
  ASSERT_NE(manager.GetBookStatus(kWanted).status, BookStatus::kPurchased);
  Book wanted;
  wanted.string_props[Book::kEan] = kWanted;
  manager.AddToCart(wanted);
  manager.CheckOut();
  ASSERT_EQ(manager.GetCart().GetSize(), 1u);

  // StartPayment returns when the browser has ended, so the user is beside it.
  std::future<void> user = std::async(std::launch::async, [] {
    tests::BrowserHand hand(kDevtoolsFile);
    try {
      PayByCard(hand);
    } catch (const std::exception& error) {
      ADD_FAILURE() << error.what();
      hand.Call("Browser.close");  // or the payment would wait for ever
    }
  });
  const auto started = manager.StartPayment("CCARD");
  user.get();
  ASSERT_EQ(started.code_, ServerApi::kOk) << started.message_;

  const auto paid = manager.CheckPaymentResult();
  ASSERT_EQ(paid.code_, ServerApi::kOk) << paid.message_;
  EXPECT_EQ(manager.GetBookStatus(kWanted).status, BookStatus::kPurchased);
  EXPECT_TRUE(std::any_of(manager.GetPurchased().begin(), manager.GetPurchased().end(),
                          [](const Book& book) { return Ean(book) == kWanted; }));
  EXPECT_EQ(manager.GetCart().GetSize(), 0u);
}

}  // namespace
