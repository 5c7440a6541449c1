// No response and no file makes the library throw or crash.

#include "fake_device_fixture.h"
#include "store_calls.h"

namespace saltmoor::quire {
namespace {

const std::string kDeep = Repeat("[", 2000);
const Lines kNumbers({"0", "-1", "1.5", "1e400", "-1e400", "9223372036854775807",
                      "9223372036854775808", "99999999999999999999999999",
                      "-99999999999999999999999999"});
/// Values of every type, also at the limits.
const Lines kValues = kNumbers + Lines({"[]", "[1]", R"([["error"]])", "{}", R"({"error":{}})",
                                        R"("text")", R"("")", "true", "null", R"("1e400")",
                                        R"("nan")", R"("\u0000\ud800")", "\"\xff\xfe\""});

/// Each pattern with each value in place of '$'.
Lines Filled(const Lines& patterns) {
  Lines texts;
  for (const std::string& pattern : patterns) {
    for (const std::string& value : kValues) {
      std::string text;
      for (const char c : pattern) text += c == '$' ? value : std::string(1, c);
      texts.push_back(text);
    }
  }
  return texts;
}

Lines HostileBodies() {
  const std::string object =
      R"({"opdsSessionId":$,"orderId":$,"orderItems":$,"order":$,"positions":$,"url":$,"status":$,)"
      R"("paymentStatus":$,"successMsg":$,"ErrorMsg":$,"errorMsg":$,"userId":$,"opdsUrl":$,)"
      R"("orderItemPrice":$})";
  std::string item = R"({"orderItemPrice":$)";
  for (const auto& row : Book::s_book_string_map) item += ",\"" + row.first + "\":$";
  return Lines({"", "{", "[", "\"", "/*", "//", "{}}", "{\"a\"", "\xef\xbb\xbf{}", "\xff\xff",
                std::string(1, '\0'), std::string("{\"error\":\"tr\0ue\"}", 17), kDeep,
                Repeat("{\"response\":", 2000), Repeat("{\"a\":[", 1000), Repeat("/*", 2000),
                R"({"error":"true","response":)" + kDeep}) +
         Filled({"$", R"({"error":$})", R"({"response":$})", R"({"error":true,"response":$})",
                 R"({"opdsUrl":$,"shopName":$})", R"({"opdsUrl":{"OPDSStartPage":$}})",
                 R"({"response":[$,$]})", R"({"response":)" + object + "}",
                 R"({"error":true,"response":)" + object + "}",
                 R"({"response":{"order":)" + object + R"(,"orderItems":[)" + object +
                     R"(],"positions":[)" + object + "]}}",
                 R"({"response":[)" + item + "}]}"});
}

Lines PrefixesOf(const std::string& whole) {
  Lines prefixes;
  for (std::size_t size = 0; size < whole.size(); ++size) prefixes.push_back(whole.substr(0, size));
  return prefixes;
}

class MalformedInput : public FakeDeviceFixture {};

TEST_F(MalformedInput, NoResponseMakesCallThrow) {
  ServerApi api;
  api.SetConfig(SwitchboardConfig::Parse(ParseJson(kSwitchboardResponse)));
  Book::s_book_int_map["orderItemId"] = static_cast<Book::IntProps>(1);
  for (const StoreCall& call : kStoreCalls) {
    for (const std::string& body : HostileBodies() + PrefixesOf(call.response)) {
      device.SetOnlyResponse(call.path, body);
      api.SetSessionId(kSession);
      EXPECT_NO_THROW(call.make(api)) << call.name << " " << body;
    }
  }
  Book::s_book_int_map.clear();
}

TEST_F(MalformedInput, CartFileLoadsReadablePart) {
  Cart cart;
  cart.orderItems = {MakeBook("1", "A", "T"), MakeBook("2")};
  cart.orderAmount = 20.0;
  cart.Save();
  const std::string whole = ReadFile(kCartPath);
  const Lines contents =
      HostileBodies() +
      Filled({R"({"orderItems":$,"order":$})", R"({"orderItems":[$],"order":{"orderAmount":$}})"});
  for (const std::string& content : contents + PrefixesOf(whole)) {
    WriteFile(kCartPath, content);
    EXPECT_NO_THROW(cart.Load()) << content;
    EXPECT_NO_THROW(cart.GetTotalPriceFormatted()) << content;
    EXPECT_NO_THROW(cart.ToJson()) << content;
  }
  WriteFile(kCartPath, whole);
  cart.Load();
  EXPECT_EQ(cart.GetSize(), 2u);
}

TEST_F(MalformedInput, ConfigurationCacheNeverFailsInit) {
  PrepareStart();
  device.clock_s = {100};
  for (const std::string& content : HostileBodies() + PrefixesOf(kSwitchboardResponse)) {
    WriteFile(kSwitchboardPath, content);
    device.ClearCalls();
    EXPECT_NO_THROW(EXPECT_EQ(manager().Init(), 0)) << content;
    EXPECT_NO_THROW(manager().GetShopName()) << content;
  }
}

TEST_F(MalformedInput, AddressOrDateNeverThrows) {
  for (const std::string& text :
       {std::string(), Repeat("QUIRESaltmoor?&=%", 100), std::string("QUIRESaltmoor?status=%"),
        std::string("\0?", 2), std::string("QUIRESaltmoor?%s%n=%s%n")}) {
    std::string date, time;
    EXPECT_NO_THROW(ConvertDateTime(text, date, time));
    EXPECT_NO_THROW(manager().GetBookStatusById(text));
    EXPECT_NO_THROW(manager().DownloadBookById(text));
  }
}

}  // namespace
}  // namespace saltmoor::quire
