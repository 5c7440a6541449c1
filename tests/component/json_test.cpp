// JSON values as strings, and numbers that are read and written alike in every locale of the
// application.

#include <langinfo.h>

#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <locale>

#include "fake_device_fixture.h"
#include "json_text.h"

namespace saltmoor::quire {
namespace {

TEST(ToString, ConvertsStringsBooleansAndIntegers) {
  for (const char* itself : {"true", "false", "-5", "0", "2147483648", "4294967295",
                             "9223372036854775807", "-9223372036854775808"}) {
    EXPECT_EQ(ToString(ParseJson(itself)), itself);
  }
  for (const char* nothing : {"\"\"", "null", "12.5", "12.0", "1e3", "[1]", R"({"a":1})",
                              "9223372036854775808", "18446744073709551615"}) {
    EXPECT_EQ(ToString(ParseJson(nothing)), "") << nothing;
  }
  EXPECT_EQ(ToString(Json::Value(12u)), "");
  EXPECT_EQ(ToString(Json::Value(Json::UInt64{2147483647})), "");
  const std::string with_zero("a\0b \u00e4", 6);
  EXPECT_EQ(ToString(Json::Value(with_zero)), with_zero);
}

/// German numbers for C++ streams, or such with another decimal point.
struct Punctuation : std::numpunct<char> {
  explicit Punctuation(char decimal_point) : point(decimal_point) {}
  char do_decimal_point() const override { return point; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
  const char point;
};

class NumericLocale : public FakeDeviceFixture {
 protected:
  /// Runs `body` in each installed locale whose decimal separator or digits differ from those of
  /// the C locale, set for the C library alone and for C++ streams too; then with a locale of C++
  /// streams alone. The build of the tests installs one locale of each kind.
  static void InEach(const std::function<void()>& body) {
    for (const std::string& name : InstalledNames()) InLocale(name, body);
    setenv("LOCPATH", QUIRE_TEST_LOCALES, 1);
    for (const std::string& name : ListFiles(QUIRE_TEST_LOCALES)) {
      EXPECT_TRUE(InLocale(name, body)) << name;
    }
    unsetenv("LOCPATH");
    for (const char point : {',', '\''}) {
      std::locale::global(std::locale(std::locale::classic(), new Punctuation(point)));
      body();
      Reset();
    }
  }

 private:
  static void Reset() {
    std::locale::global(std::locale::classic());
    std::setlocale(LC_ALL, "C");
  }

  static bool InLocale(const std::string& name, const std::function<void()>& body) {
    const bool differs = std::setlocale(LC_ALL, name.c_str()) != nullptr &&
                         (std::string(std::localeconv()->decimal_point) != "." ||
                          std::string(nl_langinfo(_NL_CTYPE_OUTDIGIT0_MB)) != "0");
    if (differs) {
      SCOPED_TRACE(name);
      body();
      std::locale::global(std::locale(name));
      body();
    }
    Reset();
    return differs;
  }

  static Lines InstalledNames() {
    Lines names;
    std::FILE* const list = popen("locale -a", "r");
    char name[256];
    while (std::fscanf(list, "%255s", name) == 1) names.emplace_back(name);
    pclose(list);
    return names;
  }
};

TEST_F(NumericLocale, ReadsAndFormatsPricesAlike) {
  InEach([] {
    Cart cart;
    cart.FromJson(ParseJson(R"({"order":{"orderAmount":"1234.5","orderId":1234567},
      "orderItems":[{"orderItemPrice":"1234.56","currency":"EUR"},{"orderItemPrice":"0.29"}]})"));
    EXPECT_EQ(cart.orderAmount, 1234.5);
    EXPECT_EQ(cart.orderId, "1234567");
    EXPECT_EQ(cart.GetItem(0).int_props.at(Book::kPrice), 123456);
    EXPECT_EQ(cart.GetTotalPriceFormatted(), "1234,85 EUR");
    cart.orderItems[1].int_props[Book::kPrice] = 123456789;
    EXPECT_EQ(cart.orderItems[0].ToJson()["orderItemPrice"], "1234.56");
    EXPECT_EQ(cart.orderItems[1].ToJson()["orderItemPrice"], "1.23457e+06");
    EXPECT_EQ(int_to_string(-1234567), "-1234567");
    std::string date, time;
    EXPECT_TRUE(ConvertDateTime("2021-03-05 07:08:09", date, time));
    EXPECT_EQ(date + " " + time, "05.03.2021 07:08");
  });
}

TEST_F(NumericLocale, WritesReadableCartFile) {
  Cart cart;
  cart.orderItems = {MakeBook("1"), MakeBook("2")};
  cart.orderItems[0].int_props[Book::kPrice] = 1299;
  for (const double amount : {20.0, 12.5, 1234567.25, 1e20}) {
    cart.orderAmount = amount;
    cart.Save();
    const std::string file = ReadFile(kCartPath);
    InEach([&] {
      cart.Save();
      ASSERT_EQ(ReadFile(kCartPath), file);
      Cart loaded;
      loaded.Load();
      ASSERT_EQ(loaded.GetSize(), 2u);
      EXPECT_EQ(loaded.GetItem(0).int_props.at(Book::kPrice), 1299);
    });
  }
}

TEST_F(NumericLocale, WritesReadableConfigurationCache) {
  device.clock_s = {1000};
  device.AddResponse(kSwitchboardUrl, R"({"version":1234.5,"shopName":"S","year":2026})");
  ASSERT_EQ(manager().Init(), 0);
  const std::string file = ReadFile(kSwitchboardPath);
  EXPECT_EQ(ParseJson(file)["version"].asDouble(), 1234.5);
  InEach([&] {
    ASSERT_EQ(manager().ConfigFromServer(), 0);
    ASSERT_EQ(ReadFile(kSwitchboardPath), file);
    device.ClearCalls();
    ASSERT_EQ(manager().Init(), 0);
    EXPECT_EQ(device.Calls({"GET"}), Lines());
    EXPECT_EQ(manager().GetConfig().ToJson()["version"].asDouble(), 1234.5);
  });
}

TEST_F(NumericLocale, ReadsResponsesAlike) {
  ServerApi api;
  device.AddResponse(
      "/getUserEbook",
      R"({"rate":12345.678,/* 1.5 " */"response":[{"x":0.5,"orderItemPrice":"9.99"}]})");
  device.AddResponse("/commitOrderForPayment", R"({"response":{"url":12.5}})");
  const std::map<std::string, double> numbers = {{"-0.25", -0.25},
                                                 {"1.5e3", 1500.0},
                                                 {"1.5E+3", 1500.0},
                                                 {"25.0e-1", 2.5},
                                                 {"7.0", 7.0},
                                                 {"0.5e0003", 500},
                                                 {"123456789.0625", 123456789.0625}};
  InEach([&] {
    const auto books = std::get<1>(api.GetUserEbook());
    ASSERT_EQ(books.size(), 1u);
    EXPECT_EQ(books[0].int_props.at(Book::kPrice), 999);
    EXPECT_EQ(api.commitOrderForPayment("O", "PAYPAL").url, "12.5");
    for (const auto& [text, number] : numbers) {
      device.AddResponse(kSwitchboardUrl, R"({"a.5":"1.5\"2.5\\","n":)" + text + "}");
      const Json::Value json = std::get<1>(api.CallSwitchboard(kSwitchboardUrl)).ToJson();
      EXPECT_EQ(json["n"].asDouble(), number) << text;
      EXPECT_EQ(json["a.5"], "1.5\"2.5\\");
    }
  });
}

}  // namespace
}  // namespace saltmoor::quire
