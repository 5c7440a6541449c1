#include "store_calls.h"

#include "fake_device_fixture.h"

namespace saltmoor::quire {

namespace {

using Result = ServerApi::Result;

std::string Describe(const std::vector<Book>& books) {
  std::string words;
  for (const Book& book : books) {
    words += "[";
    for (const auto& [prop, text] : book.string_props) words += text;
    words += "]";
    book.ToJson();
  }
  return words;
}

std::string Describe(const Cart& cart) {
  cart.ToJson();
  cart.GetTotalPriceFormatted();
  return cart.orderId + cart.userID + cart.opdsSessionId + cart.cartLastChange +
         (cart.orderAmount == 0 ? "" : std::to_string(cart.orderAmount)) +
         Describe(cart.orderItems);
}

std::string Describe(const Order& order) {
  return order.order_date_placed + Describe(order.positions) +
         (order.order.isNull() ? "" : "+order");
}

// An empty response is a failed payment.
std::string Describe(const ChekResult& check) {
  return check.status == ChekResult::kFailure ? "" : std::to_string(check.status);
}

template <typename Record, typename Fields = typename Record::Fields>
std::string Describe(const Record& record) {
  std::string words;
  for (int field = 0; field < 16; ++field) {
    const std::string text = record[static_cast<Fields>(field)];
    if (text != kStoreApi) words += text;  // which is always there
  }
  return words;
}

std::string Describe(const std::string& text) {
  return text;
}

template <typename Record>
CallResult Describe(const std::tuple<Result, Record>& returned) {
  const auto& [result, record] = returned;
  // After a failed call the state of a payment is unspecified.
  const bool readable = result.code_ == ServerApi::kOk || !std::is_same_v<Record, ChekResult>;
  return {result, readable ? Describe(record) : ""};
}

const std::string kQuerySigned = "?device_sn=SN-1&nonce=NONCE&client_signature=SIGNATURE";
const std::string kIds = "opdsSessionId=" + kSession + "&storeId=4711";

}  // namespace

const std::vector<StoreCall> kStoreCalls = {
    {"CallSwitchboard", kSwitchboardUrl, kQuerySigned, 121,
     "std::tuple<Result, SwitchboardConfig> "
     "saltmoor::quire::ServerApi::CallSwitchboard(const std::string &)",
     "make_tuple(Result(kFailed), SwitchboardConfig())", R"({"partner":" P "})", "P",
     [](ServerApi& api) { return Describe(api.CallSwitchboard(kSwitchboardUrl)); }},
    {"LogIn", "/login", " username=anna&password=" + kPassword + "&storeId=4711", 163,
     "Result saltmoor::quire::ServerApi::LogIn(const std::string &, const std::string &)",
     "Result(kFailed)", R"({"response":{"opdsSessionId":"S-2"}})", "",
     [](ServerApi& api) { return CallResult(api.LogIn("anna", kPassword), ""); }},
    {"LogOut", "/logout", " opdsSessionId=" + kSession + "& storeId=4711", 196,
     "Result saltmoor::quire::ServerApi::LogOut()", "Result(kFailed)", R"({"response":{}})", "",
     [](ServerApi& api) { return CallResult(api.LogOut(), ""); }},
    {"Register", "/registerUser",
     " email=e@x&password=" + kPassword + "&storeId=4711&name=N&lastname=L&title=T", 227,
     "Result saltmoor::quire::ServerApi::Register(const std::string &, const std::string &, "
     "const std::string &, const std::string &, const std::string &)",
     "Result(kFailed)", R"({"response":{"successMsg":"welcome"}})", "",
     [](ServerApi& api) { return CallResult(api.Register("e@x", kPassword, "N", "L", "T"), ""); }},
    {"GetCart", "/getCart", " " + kIds + "&orderId=O 1/&", 256,
     "std::tuple<Result, Cart> saltmoor::quire::ServerApi::GetCart(const std::string &)",
     "make_tuple(Result(kFailed), cart)",
     R"({"response":{"order":{"orderId":"O","orderAmount":"1.5"},
         "orderItems":[{"orderItemEAN":"E"}]}})",
     "O1.500000[E]", [](ServerApi& api) { return Describe(api.GetCart("O 1/&")); }},
    {"AddToCart", "/addToCart", " " + kIds + "&ean_0=978A&quantity_0=-1", 284,
     "std::tuple<Result, std::string> saltmoor::quire::ServerApi::AddToCart(const std::string &, "
     "int)",
     "make_tuple(Result(kFailed), std::string())", R"({"response":{"orderId":20000000001}})",
     "20000000001", [](ServerApi& api) { return Describe(api.AddToCart("978A", -1)); }},
    {"AddArrayToCart", "/addToCart",
     " " + kIds + "&ean_0=&quantity_0=0&ean_1=978A&quantity_1=2&ean_2=978B&quantity_2=1", 321,
     "std::tuple<Result, std::string> "
     "saltmoor::quire::ServerApi::AddArrayToCart(const std::map<std::string, int>)",
     "make_tuple(Result(kFailed), std::string())", R"({"response":{"orderId":"O"}})", "O",
     [](ServerApi& api) {
       return Describe(api.AddArrayToCart({{"978B", 1}, {"978A", 2}, {"", 0}}));
     }},
    {"CheckOrder", "/checkOrder", " orderId=O&storeId=4711&opdsSessionId=" + kSession, 380,
     "std::tuple<Result, ChekResult> saltmoor::quire::ServerApi::CheckOrder(const std::string &)",
     "make_tuple(Result(kFailed), check_result)", R"({"response":{"paymentStatus":"Success"}})",
     "3", [](ServerApi& api) { return Describe(api.CheckOrder("O")); }},
    {"commitOrderForPayment", "/commitOrderForPayment",
     " opdsSessionId=" + kSession + "&orderId=O&storeId=4711&paymethod=PAYPAL", 417,
     "CommitOrderResult saltmoor::quire::ServerApi::commitOrderForPayment(const std::string &, "
     "const std::string &)",
     "result", R"({"response":{"status":"S","url":"https://pay/"}})", "Shttps://pay/",
     [](ServerApi& api) {
       const auto commit = api.commitOrderForPayment("O", "PAYPAL");
       return CallResult(commit.res, commit.status + commit.url);
     }},
    {"GetUserEbook", "/getUserEbook", " " + kIds, 458,
     "std::tuple<Result, std::vector<Book>> saltmoor::quire::ServerApi::GetUserEbook()",
     "make_tuple(Result(kFailed), books)",
     R"({"response":[{"orderItemEAN":"1"},7,{"orderItemEAN":"1"}]})", "[1][][1]",
     [](ServerApi& api) { return Describe(api.GetUserEbook()); }},
    {"SubmitOrder", "/submitOrder",
     " orderId=O&storeId=4711&opdsSessionId=" + kSession + "&paymethod=CCARD", 494,
     "std::tuple<Result, Order> saltmoor::quire::ServerApi::SubmitOrder(const std::string &, "
     "const std::string &)",
     "make_tuple(Result(kFailed), order)",
     R"({"response":{"order":{"orderDatePlaced":"D","positions":[1]},"orderDatePlaced":"no",
         "positions":[{"orderItemEAN":"E"}]}})",
     "D[E]+order", [](ServerApi& api) { return Describe(api.SubmitOrder("O", "CCARD")); }},
    {"GetUserData", "/getUserData", " storeId=4711&opdsSessionId=" + kSession, 521,
     "std::tuple<Result, UserData> saltmoor::quire::ServerApi::GetUserData()",
     "make_tuple(Result(kFailed), user_data)",
     R"({"response":{"payMethod":"n","mobile":12,"birthday":1.5,"phone":"l","email":"k",
         "country":"j","city":"i","zip":" g","street":"f","company":"e","surname":"d","name":"c",
         "title":"b","userId":9781234567897}})",
     "9781234567897bcdef gijkl12n", [](ServerApi& api) { return Describe(api.GetUserData()); }},
};

}  // namespace saltmoor::quire
