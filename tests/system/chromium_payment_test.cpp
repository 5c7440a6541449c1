#include <future>

#include "on_device.h"
#include "support/browser_hand.h"

namespace tests {
namespace {

constexpr char kWanted[] = "9780000001351";
constexpr char kDevtoolsFile[] = "/tmp/devtools";
constexpr char kPaymentPage[] = "https://shop.quire.example/payment/";

void PayByCard(BrowserHand& hand) {
  const std::string page = hand.Page(kPaymentPage);
  EXPECT_EQ(hand.Evaluate(page, "document.querySelector('.sum td:last-child').innerText"),
            "12,50 EUR");
  hand.Type(page, "card_holder", "Anna Quill");
  hand.Type(page, "card_number", "4111 1111 1111 1111");
  hand.Type(page, "card_expiry", "12/49");
  hand.Type(page, "card_cvc", "123");
  const std::string screenshot = hand.Screenshot(page);
  EXPECT_EQ(screenshot.substr(0, 4), "\x89PNG");
  WriteFile(QUIRE_PAYMENT_SCREENSHOT, screenshot);
  hand.Evaluate(page, "document.querySelector('[name=decision][value=approve]').click()");
}

class InChromium : public OnDevice {};

TEST_F(InChromium, ACardTypedIntoTheShopsPageBuysTheBook) {
  setenv("QUIRE_BROWSER_HEADLESS", "1", 1);
  setenv("QUIRE_BROWSER_DEVTOOLS_FILE", kDevtoolsFile, 1);
  shop_.Control("/_orders", {{"pending_checks", 0}});
  LogIn();
  ASSERT_FALSE(HasBought(kWanted));
  manager_.AddToCart(BookOf(kWanted));
  manager_.CheckOut();
  ASSERT_EQ(manager_.GetCart().GetSize(), 1u);

  // StartPayment returns when the browser has ended, so the user is beside it.
  std::future<void> user = std::async(std::launch::async, [] {
    BrowserHand hand(kDevtoolsFile);
    try {
      PayByCard(hand);
    } catch (const std::exception& error) {
      ADD_FAILURE() << error.what();
      hand.Call("Browser.close");  // or the payment would wait for ever
    }
  });
  const auto started = manager_.StartPayment("CCARD");
  user.get();
  ASSERT_EQ(started.code_, ServerApi::kOk) << started.message_;

  const auto paid = manager_.CheckPaymentResult();
  ASSERT_EQ(paid.code_, ServerApi::kOk) << paid.message_;
  EXPECT_TRUE(HasBought(kWanted));
  EXPECT_EQ(manager_.GetCart().GetSize(), 0u);
}

}  // namespace
}  // namespace tests
