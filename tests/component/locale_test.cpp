// An application's locale, with a comma for decimals and a dot for thousands, changes no number.

#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <functional>
#include <locale>

#include "on_device.h"
#include "server_api.h"

namespace saltmoor::quire {
namespace {

struct German : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

class InALocale : public OnDevice {
 protected:
  /// Runs `body` in the C library's locale, in that of C++ streams, and in both.
  static void InEach(const std::function<void()>& body) {
    setenv("LOCPATH", QUIRE_TEST_LOCALES, 1);
    for (const int which : {1, 2, 3}) {
      SCOPED_TRACE(which);
      if ((which & 2) != 0) {
        std::locale::global(std::locale(std::locale::classic(), new German));
      }
      if ((which & 1) != 0) {
        ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
        ASSERT_STREQ(std::localeconv()->decimal_point, ",");
      }
      body();
      std::locale::global(std::locale::classic());
      std::setlocale(LC_ALL, "C");
    }
  }
};

TEST_F(InALocale, PricesAndTotalsStay) {
  InEach([&] {
    Cart cart;
    cart.FromJson(Parsed(R"({"order":{"orderAmount":"1234.5","orderId":1234567},
      "orderItems":[{"orderItemPrice":"1234.56","orderItemQuantity":1234567,"currency":"EUR"},
                    {"orderItemPrice":"0.29"}]})"));
    EXPECT_EQ(cart.orderAmount, 1234.5);
    EXPECT_EQ(cart.orderId, "1234567");
    EXPECT_EQ(cart.GetItem(0).string_props.at(Book::kQuantity), "1234567");
    EXPECT_EQ(cart.GetItem(0).int_props.at(Book::kPrice), 123456);
    EXPECT_EQ(cart.GetItem(1).int_props.at(Book::kPrice), 29);
    EXPECT_EQ(cart.GetTotalPriceFormatted(), "1234,85 EUR");
    cart.orderItems[1].int_props[Book::kPrice] = 123456789;
    EXPECT_EQ(cart.orderItems[0].ToJson()["orderItemPrice"], "1234.56");
    EXPECT_EQ(cart.orderItems[1].ToJson()["orderItemPrice"], "1.23457e+06");
    EXPECT_EQ(int_to_string(-1234567), "-1234567");
  });
}

// The amount stands before the items: a reader that stumbles over it loses them.
TEST_F(InALocale, CartFileIsReadAndWrittenTheSame) {
  InEach([&] {
    Cart cart;
    cart.orderItems = {BookOf("1"), BookOf("2")};
    cart.orderItems[0].int_props[Book::kPrice] = 1299;
    for (const double amount : {20.0, 1234567.25, 1e20}) {
      cart.orderAmount = amount;
      cart.Save();
      const std::string file = ReadFile(kCartPath);
      EXPECT_NE(file.find(amount == 20.0 ? "\"orderAmount\" : 20.0," : "\"orderAmount\" : 1"),
                std::string::npos)
          << file;
      EXPECT_EQ(file.find("1.234.567"), std::string::npos);
      EXPECT_EQ(file.find("567,25"), std::string::npos);
      Cart loaded;
      loaded.Load();
      ASSERT_EQ(loaded.GetSize(), 2u) << file;
      EXPECT_EQ(loaded.GetItem(0).int_props.at(Book::kPrice), 1299);
    }
  });
}

TEST_F(InALocale, AnswersAreReadTheSame) {
  InEach([&] {
    ServerApi api;
    device.Answer("/getUserEbook",
                  R"({"rate":12345.678,"response":[{"x":0.5,"orderItemPrice":"9.99"}]})");
    const auto books = std::get<1>(api.GetUserEbook());
    ASSERT_EQ(books.size(), 1u);
    EXPECT_EQ(books[0].int_props.at(Book::kPrice), 999);
    std::string date, time;
    EXPECT_TRUE(ConvertDateTime("2021-03-05 07:08:09", date, time));
    EXPECT_EQ(date + " " + time, "05.03.2021 07:08");
    device.Answer("/commitOrderForPayment", R"({"response":{"url":12.5}})");
    EXPECT_EQ(api.commitOrderForPayment("O", "PAYPAL").url, "12.5");
  });
}

TEST_F(InALocale, SwitchboardCacheIsReadAndWrittenTheSame) {
  InEach([&] {
    device.Answer(kSwitchboardUrl, R"({"version":1234.5,"shopName":"S","year":2026})");
    device.clock_s = {1000};
    unlink(kSwitchboardPath.c_str());
    ASSERT_EQ(manager().Init(), 0);
    EXPECT_EQ(manager().GetShopName(), "S");
    device.ForgetJournal();
    ASSERT_EQ(manager().Init(), 0);
    EXPECT_EQ(device.Journal({"GET"}), Lines());
    EXPECT_EQ(manager().GetShopName(), "S");
    std::locale::global(std::locale::classic());
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(Parsed(ReadFile(kSwitchboardPath))["version"].asDouble(), 1234.5);
  });
}

}  // namespace
}  // namespace saltmoor::quire
