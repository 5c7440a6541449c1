#include <unistd.h>

#include "fake_device_fixture.h"

namespace saltmoor::quire {
namespace {

const std::string kManagerLog = "log 2 quire_store/src/data/store_manager:";
const std::string kFunction = " ServerApi::Result saltmoor::quire::StoreManager::";
const std::string kCheck = "POST /checkOrder orderId=O-1&storeId=&opdsSessionId=" + kSession;
const std::string kSubmit = "POST /submitOrder orderId=O-1&storeId=&opdsSessionId=" + kSession;
const std::string kList = "POST /getUserEbook opdsSessionId=" + kSession + "&storeId=";

std::string Condition(const char* condition, const char* returned) {
  return std::string(": Condition: \"") + condition + "\", return(\"" + returned + "\")]";
}

class StoreManagerCheckout : public FakeDeviceFixture {
 protected:
  void SetUp() override {
    FakeDeviceFixture::SetUp();
    PrepareStart();
    manager();
    device.ClearCalls();
  }

  void RespondWithStates(const Lines& states) {
    for (const std::string& state : states) {
      device.AddResponse("/checkOrder", R"({"response":{"paymentStatus":")" + state + R"("}})");
    }
  }

  /// Checks out a cart of the order O-1 and commits it for payment.
  void StartOrder(const std::string& pay_method) {
    device.AddResponse("/addToCart", R"({"response":{"orderId":"O-1"}})");
    device.AddResponse("/getCart", R"({"response":{"order":{"orderId":"O-1"},
                                  "orderItems":[{"orderItemEAN":"1"}]}})");
    device.AddResponse("/commitOrderForPayment", R"({"response":{"url":"https://pay/"}})");
    manager().AddToCart(MakeBook("1"));
    manager().CheckOut();
    EXPECT_EQ(manager().StartPayment(pay_method).code_, ServerApi::kOk);
    device.ClearCalls();
  }

  /// The pending order of the manager; empty when there is none.
  std::string PendingOrder() {
    device.ClearCalls();
    manager().CheckOrderIfNeeded();
    const Lines asked = device.Calls({"POST /checkOrder orderId="});
    return asked.empty() ? "" : asked[0].substr(25, asked[0].find('&') - 25);
  }
};

TEST_F(StoreManagerCheckout, SendsEachBookOnceAndListsDroppedBooks) {
  Book book = MakeBook("2");
  book.string_props[Book::kCurrency] = "CHF";
  manager().AddToCart(book);
  manager().AddToCart(MakeBook("10", "first"));
  manager().AddToCart(Book());
  // Only the cart file can contain a second copy.
  Json::Value file = ParseJson(ReadFile(kCartPath));
  file["orderItems"].append(MakeBook("10", "second").ToJson());
  WriteFile(kCartPath, file.toStyledString());
  ASSERT_EQ(manager().Init(), 0);
  const std::string saved = ReadFile(kCartPath);
  device.ClearCalls();
  device.AddResponse("/addToCart", R"({"response":{"orderId":"O-1"}})");
  device.AddResponse("/getCart", R"({"response":{"order":{"orderId":"O-1"},
      "orderItems":[{"orderItemEAN":"2","orderItemPrice":"1.50","currency":"EUR"}]}})");

  const auto [result, dropped] = manager().CheckOut();
  EXPECT_EQ(result.code_, ServerApi::kOk);
  const std::string ids = "opdsSessionId=" + kSession + "&storeId=4711";
  EXPECT_EQ(device.Calls({"POST"}),
            (Lines{"POST /login username=anna&password=" + kPassword + "&storeId=4711",
                   "POST /addToCart " + ids +
                       "&ean_0=&quantity_0=1&ean_1=10&quantity_1=1&ean_2=2&quantity_2=1",
                   "POST /getCart " + ids + "&orderId=O-1"}));
  ASSERT_EQ(dropped.size(), 3u);
  EXPECT_EQ(dropped[0].string_props.at(Book::kAuthor), "first");
  EXPECT_EQ(dropped[1].string_props.count(Book::kEan), 0u);
  EXPECT_EQ(dropped[2].string_props.at(Book::kAuthor), "second");
  EXPECT_EQ(manager().GetCart().GetTotalPriceFormatted(), "1,50 CHF");
  EXPECT_EQ(ReadFile(kCartPath), saved);
}

TEST_F(StoreManagerCheckout, ClearsCurrencyWhenCartWasEmpty) {
  device.AddResponse("/getCart", R"({"response":{"orderItems":[{"currency":"EUR"}]}})");
  EXPECT_TRUE(std::get<1>(manager().CheckOut()).empty());
  EXPECT_EQ(manager().GetCart().GetTotalPriceFormatted(), "0,00 ");
}

TEST_F(StoreManagerCheckout, SucceedsWithAllBooksDroppedWhenServerFails) {
  device.ClearResponses();
  manager().AddToCart(MakeBook("1"));
  const auto [result, dropped] = manager().CheckOut();
  EXPECT_EQ(Describe(result), "ok");
  EXPECT_EQ(dropped.size(), 1u);
  EXPECT_EQ(manager().GetCart().GetSize(), 0u);
}

TEST_F(StoreManagerCheckout, ShowsPaymentPageForTwoMethodsOnly) {
  StartOrder("PAYPAL");
  const auto trace = [](const char* line, const char* text) {
    return std::string("log 5 quire_store/src/data/store_manager:") + line + kFunction +
           "StartPayment(const std::string &): " + text;
  };
  const std::tuple<std::string, std::string, const char*> rows[] = {
      {"PAYPAL", "", " --paypal"},
      {"CCARD", kReturnPages, " -wirecard"},
      {"paypal", "", nullptr},
      {"", "", nullptr}};
  for (const auto& [method, pages, arguments] : rows) {
    device.ClearCalls();
    EXPECT_EQ(manager().StartPayment(method).code_, ServerApi::kOk);
    Lines expected = {trace("591", "Starting PrepareOrder"),
                      "POST /commitOrderForPayment opdsSessionId=" + kSession +
                          "&orderId=O-1&storeId=&paymethod=" + method + pages};
    if (arguments != nullptr) {
      expected = expected + Lines{trace("601", "Starting browser auth"),
                                  "browser run /ebrmain/bin/browser.app" + std::string(arguments) +
                                      " https://pay/"};
    }
    EXPECT_EQ(device.Calls({"log 5", "POST", "browser run"}), expected);
  }
}

TEST_F(StoreManagerCheckout, KeepsPayMethodOfFailedCommit) {
  StartOrder("PAYPAL");
  device.AddResponse("/commitOrderForPayment", kRefusal);
  device.AddResponse("/submitOrder", "{}");
  manager().StartPayment("INVOICE");
  device.ClearCalls();
  EXPECT_EQ(Describe(manager().CheckPaymentResult()), "ok");
  EXPECT_EQ(device.Calls({"POST"}), (Lines{kSubmit, kList}));
}

TEST_F(StoreManagerCheckout, KeepsPendingOrderAfterFailedPaymentStart) {
  const auto log = [](const char* line, const char* condition, const char* returned) {
    return kManagerLog + line + kFunction + "StartPayment(const std::string &)" +
           Condition(condition, returned);
  };
  const char* const failed = "ServerApi::Result(ServerApi::kFailed)";
  // Refused: no order becomes pending.
  device.AddResponse("/commitOrderForPayment", kRefusal);
  EXPECT_EQ(Describe(manager().StartPayment("PAYPAL")), "failed: no");
  EXPECT_EQ(LastFailure(), "refused: no");
  EXPECT_EQ(device.Calls({"log 2", "browser"}),
            Lines{log("593", "ServerApi::kOk == commit_res.res.code_", "commit_res.res")});
  EXPECT_EQ(PendingOrder(), "");

  // No address, then no browser: the order stays pending.
  device.ClearResponses();
  StartOrder("INVOICE");
  const std::string page = R"({"response":{"url":"https://pay/"}})";
  const std::tuple<std::string, int, const char*, std::string> rows[] = {
      {"no JSON", 0, "unreadable", log("599", "url.empty()", failed)},
      {"{}", 0, "no payment page", log("599", "url.empty()", failed)},
      {page, -1, "browser", log("605", "SM_OK == err", failed)},
      {page, 5, "browser", log("605", "SM_OK == err", failed)}};
  for (const auto& [response, browser_result, failure, line] : rows) {
    device.SetOnlyResponse("/commitOrderForPayment", response);
    device.browser.result = browser_result;
    EXPECT_EQ(Describe(manager().StartPayment("CCARD")), "failed");
    EXPECT_EQ(LastFailure(), failure);
    EXPECT_EQ(device.Calls({kManagerLog.c_str()}), Lines{line});
    EXPECT_EQ(device.Calls({"browser run"}).size(), browser_result == 0 ? 0u : 1u);
    EXPECT_EQ(PendingOrder(), "O-1");
  }
}

TEST_F(StoreManagerCheckout, StartSucceedsWithFailureWhenBrowserCrashes) {
  StartOrder("PAYPAL");
  device.browser.fails = true;
  EXPECT_EQ(Describe(manager().StartPayment("CCARD")), "ok");
  EXPECT_EQ(LastFailure(), "browser");
  EXPECT_EQ(device.Calls({kManagerLog.c_str()}), Lines());
  EXPECT_EQ(PendingOrder(), "O-1");
  device.browser.visits = {kReturnPage + "cancel"};  // which ends the session before
  EXPECT_EQ(Describe(manager().StartPayment("CCARD")), "ok");
  EXPECT_EQ(LastFailure(), "");
}

TEST_F(StoreManagerCheckout, PollsWhilePendingThenSubmits) {
  StartOrder("PAYPAL");
  RespondWithStates({"Pending", "Pending", "Success"});
  device.AddResponse("/submitOrder",
                     R"({"response":{"order":{"orderDatePlaced":"2026-01-02 03:04:05"}}})");
  EXPECT_EQ(manager().CheckPaymentResult().code_, ServerApi::kOk);
  EXPECT_EQ(LastFailure(), "");
  const std::string query = "network query", sleep = "sleep 5000000";
  EXPECT_EQ(device.Calls(), (Lines{query, kCheck, sleep, query, kCheck, sleep, query, kCheck, sleep,
                                   kSubmit, kList}));
  EXPECT_EQ(manager().GetOrderDatePlaced(), "2026-01-02 03:04:05");
  EXPECT_EQ(manager().GetCart().GetSize(), 0u);
  EXPECT_EQ(ParseJson(ReadFile(kCartPath))["orderItems"], ParseJson("[]"));
  EXPECT_EQ(manager().GetPurchased().size(), 1u);
  EXPECT_EQ(PendingOrder(), "");
}

TEST_F(StoreManagerCheckout, SubmitsAtOnceWithoutBrowserMethod) {
  StartOrder("INVOICE");
  device.AddResponse("/submitOrder", "{}");
  EXPECT_EQ(manager().CheckPaymentResult().code_, ServerApi::kOk);
  EXPECT_EQ(device.Calls(), (Lines{kSubmit, kList}));
}

TEST_F(StoreManagerCheckout, KeepsCartAndOrderWhenPaymentFails) {
  const std::string lost =
      kFunction + "CheckPaymentResult()" + Condition("ServerApi::kOk == result.code_", "result");
  StartOrder("CCARD");
  for (const char* state : {"In Progress", "Failure", "pending", ""}) {
    device.ClearResponses();
    RespondWithStates({state});
    device.ClearCalls();
    EXPECT_EQ(Describe(manager().CheckPaymentResult()), "failed") << state;
    EXPECT_EQ(LastFailure(), "payment failed");
    EXPECT_EQ(device.Calls(), (Lines{"network query", kCheck}));
  }
  device.SetOnlyResponse("/checkOrder", kRefusal);
  EXPECT_EQ(Describe(manager().CheckPaymentResult()), "failed: no");
  EXPECT_EQ(device.Calls({"log", "sleep", "POST /submit"}), Lines{kManagerLog + "624" + lost});

  device.ClearResponses();
  RespondWithStates({"Success"});
  device.AddResponse("/submitOrder", kRefusal);
  device.ClearCalls();
  EXPECT_EQ(Describe(manager().CheckPaymentResult()), "failed: no");
  EXPECT_EQ(device.Calls({"log", "sleep", "POST /submit", "POST /getUser"}),
            (Lines{"sleep 5000000", kSubmit + "&paymethod=CCARD", kManagerLog + "645" + lost}));
  EXPECT_EQ(manager().GetCart().GetSize(), 1u);
  EXPECT_EQ(manager().GetOrderDatePlaced(), "");
  EXPECT_EQ(PendingOrder(), "O-1");
}

TEST_F(StoreManagerCheckout, ChecksPendingOrderOnceInAnyState) {
  EXPECT_EQ(manager().CheckOrderIfNeeded(), -1);
  EXPECT_EQ(LastFailure(), "no pending order");
  EXPECT_EQ(device.Calls(), Lines());
  StartOrder("PAYPAL");
  RespondWithStates({"Failure"});
  for (int times = 0; times < 2; ++times) {
    device.ClearCalls();
    EXPECT_EQ(manager().CheckOrderIfNeeded(), 0);
    EXPECT_EQ(device.Calls(), (Lines{"network query", kCheck, kList}));
  }
  device.ClearResponses();
  device.ClearCalls();
  EXPECT_EQ(manager().CheckOrderIfNeeded(), -1);
  EXPECT_EQ(LastFailure(), "network 6");
  EXPECT_EQ(device.Calls({kManagerLog.c_str(), "POST /getUser"}),
            Lines{kManagerLog + "664 int saltmoor::quire::StoreManager::CheckOrderIfNeeded()" +
                  Condition("ServerApi::kOk == result.code_", "-1")});
}

TEST_F(StoreManagerCheckout, ConnectsWhenNoNetworkBitIsSet) {
  StartOrder("PAYPAL");
  RespondWithStates({"Failure"});
  for (const int state : {0, 0x10FF, 0x100, 0x200, 0x400, 0x800}) {
    device.network_state = state;
    const Lines expected = (state & 0xF00) != 0 ? Lines{"network query"}
                                                : Lines{"network query", "network connect default"};
    device.ClearCalls();
    manager().CheckPaymentResult();
    manager().CheckOrderIfNeeded();
    EXPECT_EQ(device.Calls({"network"}), expected + expected) << state;
  }
}

}  // namespace
}  // namespace saltmoor::quire
