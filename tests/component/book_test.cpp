#include "book.h"

#include <cstdint>

#include "fake_device_fixture.h"

namespace saltmoor::quire {
namespace {

std::string GetProperty(const Book& book, Book::StringProps prop) {
  const auto entry = book.string_props.find(prop);
  return entry == book.string_props.end() ? "(absent)" : entry->second;
}

std::string ReadProperty(const char* key, const std::string& sent, Book::StringProps prop) {
  Json::Value json;
  json[key] = sent;
  return GetProperty(Book::FromJson(json), prop);
}

std::int64_t ReadPrice(const std::string& json) {
  return Book::FromJson(ParseJson(R"({"orderItemPrice":)" + json + "}")).int_props.at(Book::kPrice);
}

TEST(Book, MapsServerKeysToProperties) {
  std::string table;
  for (const auto& [key, prop] : Book::s_book_string_map) {
    table += key + " " + std::to_string(prop) + "\n";
  }
  EXPECT_EQ(table,
            "currency 17\norderId 16\norderImageUrl 18\norderItemAuthor 2\n"
            "orderItemAvailabilityNumber 8\norderItemDate 6\norderItemEAN 0\norderItemEan 0\n"
            "orderItemEbookCover 3\norderItemEbookDrm 10\norderItemEbookFormat 5\n"
            "orderItemEbookLink 7\norderItemEbookType 5\norderItemId 11\norderItemIsEbook 15\n"
            "orderItemQuantity 14\norderItemThumbnail 3\norderItemTitle 1\nproductPageURL 9\n");
  EXPECT_TRUE(Book::s_book_int_map.empty());
}

TEST(Book, IsEmptyWhenJsonIsNoObject) {
  for (const char* json : {"1", "\"orderItemEan\"", "null", "[{}]"}) {
    const Book book = Book::FromJson(ParseJson(json));
    EXPECT_TRUE(book.int_props.empty() && book.string_props.empty()) << json;
    EXPECT_EQ(book.ToJson(), ParseJson(R"({"orderItemPrice":"0"})"));
  }
  const Book book = Book::FromJson(ParseJson("{}"));
  EXPECT_EQ(book.string_props, (std::map<Book::StringProps, std::string>{{Book::kEbookFormat, ""},
                                                                         {Book::kDate, ""}}));
  EXPECT_TRUE(book.int_props.empty());
  EXPECT_EQ(book.ToJson(), ParseJson(R"({"orderItemDate":"","orderItemEbookFormat":"",
                                    "orderItemEbookType":"","orderItemPrice":"0"})"));
}

TEST(Book, LaterKeyOfOnePropertyWins) {
  const Book book = Book::FromJson(ParseJson(
      R"({"orderItemEan":"low","orderItemEAN":"CAPITALS","orderItemThumbnail":"small",
          "orderItemEbookCover":"cover","orderItemEbookType":"type","orderItemEbookFormat":"form",
          "orderItemQuantity":2,"orderItemIsEbook":true,"orderItemId":9781234567897,
          "orderItemTitle":1.5,"orderItemAuthor":null,"currency":["EUR"]})"));
  EXPECT_EQ(book.string_props.count(Book::kOrderId), 0u);
  EXPECT_EQ(book.ToJson(), ParseJson(R"({"orderItemEan":"low","orderItemEAN":"low",
      "orderItemThumbnail":"small","orderItemEbookCover":"small","orderItemEbookType":"type",
      "orderItemEbookFormat":"type","orderItemQuantity":"2","orderItemIsEbook":"true",
      "orderItemId":"9781234567897","orderItemTitle":"","orderItemAuthor":"","currency":"",
      "orderItemDate":"","orderItemPrice":"0"})"));
}

TEST(Book, ReadsPriceInCentsAndWritesSixDigits) {
  const std::pair<const char*, std::int64_t> read[] = {
      {R"("12.99")", 1299}, {R"("5")", 500},      {R"("0.125")", 13},    {R"("-0.125")", -13},
      {R"("0.29")", 29},    {R"("1e3")", 100000}, {R"("abc")", 0},       {R"("")", 0},
      {R"("12,99")", 1200}, {"12", 1200},         {"12.99", 0},          {"true", 0},
      {"[1]", 0},           {"null", 0},          {R"("9.99 EUR")", 999}};
  for (const auto& [json, cents] : read) EXPECT_EQ(ReadPrice(json), cents) << json;

  const std::pair<std::int64_t, const char*> written[] = {
      {1299, "12.99"},      {500, "5"},        {5, "0.05"},          {0, "0"},
      {1234567, "12345.7"}, {-1299, "-12.99"}, {100000000, "1e+06"}, {123456789000, "1.23457e+09"}};
  for (const auto& [cents, text] : written) {
    Book book;
    book.int_props[Book::kPrice] = cents;
    EXPECT_EQ(book.ToJson()["orderItemPrice"], text);
  }
  EXPECT_EQ(ReadPrice(R"("12345.7")"), 1234570);
}

TEST(Book, RewritesDateForDisplay) {
  const std::pair<const char*, const char*> rows[] = {
      {"2021-03-15 14:30:00", "2021-03-15\n14:30:00"},
      {"2021-03-15\n14:30:00", "2021-03-15\n14:30:00"},
      {"on 15.03.2021 at 14:30", "on 15.03.2021 at\n14:30"},
      {"14:30 15.03.2021", "14:30 | 15.03.2021"},
      {"Mon 15.03.2021", "Mon | 15.03.2021"},
      {" :", "\n:"},
      {" ", " | "},
      {"14:30", "14:30"},
      {"15.03.2021", "15.03.2021"}};
  for (const auto& [sent, date] : rows) {
    EXPECT_EQ(ReadProperty("orderItemDate", sent, Book::kDate), date);
  }
}

TEST(Book, ConvertsKnownMimeTypeToExtension) {
  for (const auto& [sent, format] : {std::pair("text/html; x", "htm"), {"EPUB", "EPUB"}}) {
    EXPECT_EQ(ReadProperty("orderItemEbookFormat", sent, Book::kEbookFormat), format);
  }
}

TEST(Book, ReadsIntegerRowsAddedByApplication) {
  const auto pages = static_cast<Book::IntProps>(1);
  Book::s_book_int_map["pages"] = pages;
  const std::pair<std::string, std::int64_t> rows[] = {{"-1", -1},
                                                       {"9223372036854775807", INT64_MAX},
                                                       {"9223372036854775808", 0},
                                                       {"1.5", 0},
                                                       {R"("320")", 0},
                                                       {"true", 0}};
  for (const auto& [value, expected] : rows) {
    const Book book = Book::FromJson(ParseJson(R"({"pages":)" + value + "}"));
    EXPECT_EQ(book.int_props.at(pages), expected) << value;
    EXPECT_EQ(book.ToJson()["pages"].asInt64(), expected);
  }
  EXPECT_EQ(Book::FromJson(ParseJson("{}")).int_props.count(pages), 0u);
  Book::s_book_int_map.clear();
}

TEST(Book, CopiesAndMovesAllMembers) {
  Book book = MakeBook("1", "A", "T");
  book.aux_word = 7;
  book.int_props[Book::kPrice] = 5;
  const Book copy(book);
  Book moved;
  moved = std::move(book);
  for (const Book& other : {copy, moved}) {
    EXPECT_EQ(other.int_props.at(Book::kPrice), 5);
    EXPECT_EQ(GetProperty(other, Book::kEan), "1");
    EXPECT_EQ(other.aux_word, 7);
  }
}

}  // namespace
}  // namespace saltmoor::quire
