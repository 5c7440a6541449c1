#include "cart.h"

#include <unistd.h>

#include <random>

#include "fake_device_fixture.h"

namespace saltmoor::quire {
namespace {

class CartTest : public FakeDeviceFixture {
 protected:
  Cart cart;

  /// Whether the cart file was written since the last call.
  bool WasSaved() { return unlink(kCartPath.c_str()) == 0; }

  void AddPriced(std::int64_t cents) {
    Book book;
    book.int_props[Book::kPrice] = cents;
    book.string_props[Book::kCurrency] = "EUR";
    cart.orderItems.push_back(book);
  }
};

TEST_F(CartTest, SavesOnlyAfterChanges) {
  const auto expect = [&](bool saved, unsigned size) {
    EXPECT_EQ(WasSaved(), saved);
    EXPECT_EQ(cart.GetSize(), size);
  };
  cart.AddToCart(MakeBook("1"));
  expect(true, 1);
  cart.AddToCart(MakeBook("1", "another author"));
  expect(false, 1);
  EXPECT_FALSE(cart.IsContain("") || cart.IsContain("1 ") || cart.IsContain("11"));
  cart.AddToCart(Book());
  expect(true, 2);
  cart.AddToCart(Book());
  expect(false, 2);
  EXPECT_TRUE(cart.IsContain("1") && cart.IsContain(""));

  cart.RemoveFromCart(2);
  cart.RemoveFromCart(MakeBook("2"));
  cart.SetItemsCurrency("EUR");
  expect(false, 2);
  EXPECT_EQ(cart.GetItem(1).string_props.at(Book::kCurrency), "EUR");

  cart.orderItems.insert(cart.orderItems.begin(), MakeBook("1", "first"));
  cart.RemoveFromCart(MakeBook("1"));
  expect(true, 2);
  EXPECT_EQ(cart.GetItem(0).string_props.at(Book::kAuthor), "");
  EXPECT_EQ(cart.GetItem(7).ToJson(), ParseJson(R"({"orderItemPrice":"0"})"));
  cart.RemoveFromCart(0u);
  expect(true, 1);
  cart.Clear();
  expect(true, 0);
}

TEST_F(CartTest, ReloadsItemsAndPartOfHeader) {
  cart.orderId = "O-1";
  cart.opdsSessionId = kSession;
  cart.userID = "U-1";
  cart.cartLastChange = "2021-03-15 10:00:00";
  cart.orderAmount = 20.0;
  AddPriced(1299);
  cart.Save();
  EXPECT_EQ(ReadFile(kCartPath), Json::StyledWriter().write(cart.ToJson()));
  EXPECT_EQ(cart.ToJson(), ParseJson(R"({"opdsSessionId":")" + kSession + R"(",
      "order":{"cartLastChange":"2021-03-15 10:00:00","orderAmount":20.0,"orderId":"O-1",
               "userID":"U-1"},
      "orderItems":[{"currency":"EUR","orderItemPrice":"12.99"}]})"));
  Cart loaded;
  loaded.Load();
  EXPECT_EQ(loaded.orderId + loaded.opdsSessionId + loaded.userID + loaded.cartLastChange,
            "O-1" + kSession + "U-1");
  EXPECT_EQ(loaded.orderAmount, 0.0);
  ASSERT_EQ(loaded.GetSize(), 1u);
  EXPECT_EQ(loaded.GetItem(0).int_props.at(Book::kPrice), 1299);
}

TEST_F(CartTest, WritesFileOfOlderStyledWriter) {
  std::mt19937 random(71);
  const auto pick = [&](unsigned size) { return static_cast<int>(random() % size); };
  const std::vector<std::string> words = {
      "",      "EUR",      "a\"\\/b",          "\x7f\x01\n\t",
      "Größe", "\xff\xc3", "\u20ac\U0001d11e", std::string("\0x", 2)};
  Book::s_book_int_map = {{"currency", static_cast<Book::IntProps>(1)},
                          {"a \"key\"", static_cast<Book::IntProps>(2)},
                          {"orderItemPrice", static_cast<Book::IntProps>(2)}};
  for (int round = 0; round < 500; ++round) {
    Cart any;
    for (std::string* text : {&any.orderId, &any.opdsSessionId, &any.userID, &any.cartLastChange}) {
      *text = words[pick(8)] + words[pick(8)];
    }
    any.orderAmount = (pick(2000000) - 1000000) / 100.0 * (pick(9) == 0 ? 1e20 : 1);
    any.orderItems.resize(pick(4));
    for (Book& item : any.orderItems) {
      for (int i = pick(20); i > 0; --i) {
        item.string_props[static_cast<Book::StringProps>(pick(20))] =
            words[pick(8)] + words[pick(8)];
      }
      for (int i = pick(4); i > 0; --i) {
        item.int_props[static_cast<Book::IntProps>(pick(4))] = pick(2000000) - 1000000;
      }
    }
    any.Save();
    ASSERT_EQ(ReadFile(kCartPath), Json::StyledWriter().write(any.ToJson()));
  }
  Book::s_book_int_map.clear();
}

TEST_F(CartTest, ReadsHeaderFromResponse) {
  const std::map<std::string, double> amounts = {{R"("20.50")", 20.5}, {"20", 20.0},
                                                 {"20.5", 0.0},        {R"("x")", 0.0},
                                                 {R"("1e400")", 0.0},  {R"("nan")", 0.0}};
  for (const auto& [json, amount] : amounts) {
    cart.FromJson(ParseJson(R"({"opdsSessionId":5,"order":{"orderId":9781234567897,"userID":"U",
        "lastUpdated":"now","cartLastChange":"no","orderAmount":)" +
                            json + "}}"));
    EXPECT_EQ(cart.orderAmount, amount) << json;
  }
  EXPECT_EQ(cart.opdsSessionId + cart.orderId + cart.cartLastChange, "59781234567897now");

  AddPriced(1);
  cart.FromJson(ParseJson("[1]"));
  EXPECT_EQ(std::to_string(cart.GetSize()) + cart.opdsSessionId, "05");
  cart.FromJson(ParseJson(R"({"order":[1],"orderItems":[1,{}]})"));
  EXPECT_EQ(std::to_string(cart.GetSize()) + cart.opdsSessionId + cart.userID, "2U");
}

TEST_F(CartTest, KeepsHeaderWhenFileIsUnreadable) {
  for (const char* content : {"", "not json", "[]", "\"text\""}) {
    cart.orderId = "O-1";
    AddPriced(1);
    if (*content != 0) WriteFile(kCartPath, content);
    cart.Load();
    EXPECT_EQ(cart.GetSize(), 0u) << content;
    EXPECT_EQ(cart.orderId, "O-1") << content;
  }
}

TEST_F(CartTest, SumsIn32BitsAndFormatsWithComma) {
  EXPECT_EQ(cart.GetTotalPriceFormatted(), "0");
  const std::tuple<std::vector<std::int64_t>, double, const char*> rows[] = {
      {{1299}, 12.99, "12,99 EUR"},
      {{5}, 0.05, "0,05 EUR"},
      {{1299, 701}, 20.0, "20,00 EUR"},
      {{4294967296 + 1299}, 12.99, "12,99 EUR"},
      {{2147483647, 1}, -21474836.48, "-21474836,-48 EUR"},
      {{-5}, -0.05, "0,-5 EUR"}};
  for (const auto& [prices, total, formatted] : rows) {
    cart.orderItems.clear();
    for (const std::int64_t cents : prices) AddPriced(cents);
    cart.orderItems[0].string_props[Book::kQuantity] = "3";
    EXPECT_EQ(cart.GetTotalPrice(), total);
    EXPECT_EQ(cart.GetTotalPriceFormatted(), formatted);
  }
  cart.orderItems = {Book(), MakeBook("2")};
  cart.orderItems[1].string_props[Book::kCurrency] = "EUR";
  EXPECT_EQ(cart.GetTotalPriceFormatted(), "0,00 ");
}

TEST(ConvertDateTime, SplitsTimestamp) {
  std::string date, time;
  EXPECT_TRUE(ConvertDateTime("2021-12-31 23:59:59.123 CET", date, time));
  EXPECT_EQ(date + " " + time, "31.12.2021 23:59");
  EXPECT_TRUE(ConvertDateTime("2021-03-05 07:08:09", date, time));
  for (const char* none : {"05.03.2021", "2021-03-05", "2021-13-05 07:08:09", ""}) {
    EXPECT_FALSE(ConvertDateTime(none, date, time)) << none;
    EXPECT_EQ(date + " " + time, "05.03.2021 07:08") << none;
  }
}

}  // namespace
}  // namespace saltmoor::quire
