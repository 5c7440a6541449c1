#include <filesystem>
#include <functional>
#include <future>

#include "device_with_shop.h"
#include "support/devtools_client.h"

namespace tests {
namespace {

constexpr char kWanted[] = "9780000001351";
constexpr char kPaymentPage[] = "https://shop.quire.example/payment/";

void Decide(DevtoolsClient& devtools, const std::string& page, const std::string& decision) {
  devtools.Evaluate(page,
                    "document.querySelector('[name=decision][value=" + decision + "]').click()");
}

void PayByCard(DevtoolsClient& devtools) {
  const std::string page = devtools.WaitForPage(kPaymentPage);
  EXPECT_EQ(devtools.Evaluate(page, "document.querySelector('.sum td:last-child').innerText"),
            "12,50 EUR");
  devtools.Type(page, "card_holder", "Anna Quill");
  devtools.Type(page, "card_number", "4111 1111 1111 1111");
  devtools.Type(page, "card_expiry", "12/49");
  devtools.Type(page, "card_cvc", "123");
  Decide(devtools, page, "approve");
}

/// What axe-core finds wrong with a page, one line per rule, after how many rules hold.
std::string RunAxe(DevtoolsClient& devtools, const std::string& page) {
  devtools.Evaluate(page, ReadFile(QUIRE_AXE));
  const Json result = devtools.Call(
      "Runtime.evaluate",
      {{"expression",
        "axe.run().then(found => (found.passes.length > 15 ? 'many' : 'few') + ' rules hold' + "
        "found.violations.map(rule => '\\n' + rule.help + ': ' + "
        "rule.nodes.map(node => node.html).join(', ')).join(''))"},
       {"awaitPromise", true}},
      page);
  return result["result"].value("value", result.dump());
}

/// The name of the focused field, with a complaint unless an outline shows the focus.
std::string FocusedField(DevtoolsClient& devtools, const std::string& page) {
  return devtools.Evaluate(page, R"(
    (() => {
      const field = document.activeElement, style = getComputedStyle(field);
      const wide = style.outlineStyle != 'none' && parseFloat(style.outlineWidth) >= 2;
      field.blur();
      const gone = getComputedStyle(field).outlineStyle == 'none';
      field.focus();
      return field.name + (wide && gone ? '' : ' without a visible focus');
    })())");
}

void CheckAccessibility(DevtoolsClient& devtools) {
  const std::string page = devtools.WaitForPage(kPaymentPage);
  EXPECT_EQ(FocusedField(devtools, page), "card_holder");
  EXPECT_EQ(RunAxe(devtools, page), "many rules hold");

  devtools.Type(page, "card_holder", "Anna Quill");
  Decide(devtools, page, "approve");
  EXPECT_TRUE(WaitUntil([&] {
    return devtools.Evaluate(page,
                             "document.readyState + document.querySelectorAll('.error').length") ==
           "complete3";
  }));
  EXPECT_EQ(FocusedField(devtools, page), "card_number") << "the first invalid field";
  EXPECT_EQ(RunAxe(devtools, page), "many rules hold");
  Decide(devtools, page, "cancel");
}

class ChromiumPayment : public DeviceWithShop {
 protected:
  /// Puts a book into the cart and pays for it with a user who acts in the browser.
  void StartPayment(const std::function<void(DevtoolsClient&)>& act) {
    setenv("QUIRE_BROWSER_HEADLESS", "1", 1);
    shop_.Control("/_orders", {{"pending_checks", 0}});
    LogIn();
    ASSERT_FALSE(HasBought(kWanted));
    manager_.AddToCart(MakeBook(kWanted));
    manager_.CheckOut();
    ASSERT_EQ(manager_.GetCart().GetSize(), 1u);

    // StartPayment returns when the browser has exited, so another thread controls the browser.
    std::future<void> user = std::async(std::launch::async, [&] {
      DevtoolsClient devtools(std::filesystem::temp_directory_path());
      try {
        act(devtools);
      } catch (const std::exception& error) {
        ADD_FAILURE() << error.what();
        devtools.Call("Browser.close");  // so that StartPayment returns
      }
    });
    const auto started = manager_.StartPayment("CCARD");
    user.get();
    ASSERT_EQ(started.code_, ServerApi::kOk) << started.message_;
  }
};

TEST_F(ChromiumPayment, BuysBookByCard) {
  ASSERT_TRUE(IsChromiumInstalled());
  ASSERT_NO_FATAL_FAILURE(StartPayment(PayByCard));
  const auto paid = manager_.CheckPaymentResult();
  ASSERT_EQ(paid.code_, ServerApi::kOk) << paid.message_;
  EXPECT_TRUE(HasBought(kWanted));
  EXPECT_EQ(manager_.GetCart().GetSize(), 0u);
}

TEST_F(ChromiumPayment, ShowsAccessiblePageEmptyAndWithErrors) {
  ASSERT_TRUE(IsChromiumInstalled());
  ASSERT_TRUE(Exists(QUIRE_AXE)) << "axe-core is missing, because npm could not install it; run "
                                    "./dev test --browser where a registry of npm is reached";
  StartPayment(CheckAccessibility);
}

}  // namespace
}  // namespace tests
