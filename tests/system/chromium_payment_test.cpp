#include <filesystem>
#include <future>

#include "device_with_shop.h"
#include "support/devtools_client.h"

namespace tests {
namespace {

constexpr char kWanted[] = "9780000001351";
constexpr char kPaymentPage[] = "https://shop.quire.example/payment/";

void PayByCard(DevtoolsClient& devtools) {
  const std::string page = devtools.WaitForPage(kPaymentPage);
  EXPECT_EQ(devtools.Evaluate(page, "document.querySelector('.sum td:last-child').innerText"),
            "12,50 EUR");
  devtools.Type(page, "card_holder", "Anna Quill");
  devtools.Type(page, "card_number", "4111 1111 1111 1111");
  devtools.Type(page, "card_expiry", "12/49");
  devtools.Type(page, "card_cvc", "123");
  devtools.Evaluate(page, "document.querySelector('[name=decision][value=approve]').click()");
}

class ChromiumPayment : public DeviceWithShop {};

TEST_F(ChromiumPayment, BuysBookByCard) {
  ASSERT_TRUE(IsChromiumInstalled());
  setenv("QUIRE_BROWSER_HEADLESS", "1", 1);
  shop_.Control("/_orders", {{"pending_checks", 0}});
  LogIn();
  ASSERT_FALSE(HasBought(kWanted));
  manager_.AddToCart(MakeBook(kWanted));
  manager_.CheckOut();
  ASSERT_EQ(manager_.GetCart().GetSize(), 1u);

  // StartPayment returns when the browser has exited, so another thread controls the browser.
  std::future<void> user = std::async(std::launch::async, [] {
    DevtoolsClient devtools(std::filesystem::temp_directory_path());
    try {
      PayByCard(devtools);
    } catch (const std::exception& error) {
      ADD_FAILURE() << error.what();
      devtools.Call("Browser.close");  // so that StartPayment returns
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
