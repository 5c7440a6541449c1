// The list of bought books means what jsoncpp's older reader makes of it, whatever the server
// sends.

#include <json/reader.h>

#include <random>

#include "fake_device_fixture.h"
#include "json_text.h"

namespace saltmoor::quire {
namespace {

const std::string kItem =
    R"({"orderItemEAN":"1","orderItemEan":"2","orderItemTitle":"B\u00fccher \ud83d\ude00 und\nmehr",)"
    R"("orderItemPrice":"12.99","orderItemQuantity":2,"orderItemIsEbook":true,"other":[{"a":[]}],)"
    R"("orderItemDate":"2021-03-15 14:30:00","orderItemEbookType":"application/pdf","pages":320})";
const Lines kTokens = {R"("error":"true",)",
                       R"("error":true,)",
                       R"("error":false,)",
                       R"("response":[{}],)",
                       R"("response":{"errorMsg":"no"},)",
                       R"("errorMsg":"no",)",
                       R"("orderItemEan":"dup",)",
                       R"("orderItemPrice":5,)",
                       R"("orderItemPrice":{"a":1},)",
                       R"("orderItemTitle":[1],)",
                       R"("pages":-7,)",
                       R"("pages":9223372036854775807,)",
                       R"("orderItem\u0045an":"escaped",)",
                       R"("orderItemEan\u0000":"zero",)",
                       R"("":1,)",
                       R"(\u0000)",
                       R"(\ud800)",
                       R"(\udc00)",
                       R"(\ud800\u0041)",
                       R"(\ud83d\ude00)",
                       R"(\/)",
                       R"(\x)",
                       "/* c */",
                       "// c\n",
                       ",",
                       ":",
                       "[",
                       "]",
                       "{",
                       "}",
                       "\"",
                       "\\",
                       " ",
                       "\t",
                       "0",
                       "-0",
                       "012",
                       "-",
                       "1.5",
                       "0.0",
                       "1e5",
                       "1e400",
                       "-1e-400",
                       "1.",
                       ".5",
                       "9223372036854775808",
                       "-9223372036854775808",
                       "-9223372036854775809",
                       "18446744073709551616",
                       "null",
                       "true",
                       "NaN",
                       "Infinity",
                       std::string(1, '\0'),
                       "\x01",
                       "\x7f",
                       "\xff\xfe",
                       "\xed\xa0\x80",
                       "\xef\xbb\xbf",
                       std::string(120, '['),
                       std::string(1100, '[')};

class BookList : public FakeDeviceFixture {
 protected:
  using Records = std::vector<std::pair<decltype(Book::int_props), decltype(Book::string_props)>>;

  static void Add(const Book& book, Records& records) {
    records.emplace_back(book.int_props, book.string_props);
  }

  /// Reads `body` as the server's response, and compares all with the older reader.
  void Compare(const std::string& body) {
    Json::Value json;
    bool is_json = false;
    try {
      is_json = Json::Reader().parse(body, json) && json.isObject();
    } catch (const Json::Exception&) {
    }
    const Json::Value content = json.isObject() ? json["response"] : Json::Value();
    std::string result = "ok", failure = is_json && content.isArray() ? "" : "unreadable";
    Records records;
    if (json.isObject() && ToString(json["error"]) == "true") {
      const std::string message = content.isObject() ? ToString(content["errorMsg"]) : "";
      result = Describe(ServerApi::Result(ServerApi::kFailed, message));
      failure = Describe({Failure::kRefused, 0, 0, message});
    } else if (content.isArray()) {
      for (const Json::Value& item : content) Add(Book::FromJson(item), records);
    }

    device.SetOnlyResponse("/getUserEbook", body);
    const auto [read, books] = api.GetUserEbook();
    Records read_records;
    for (const Book& book : books) Add(book, read_records);
    ASSERT_EQ(Describe(read), result) << body;
    ASSERT_EQ(Describe(api.GetLastFailure()), failure) << body;
    ASSERT_EQ(read_records, records) << body;
  }

  ServerApi api;
};

TEST_F(BookList, IsReadAsByOlderReader) {
  Book::s_book_int_map = {{"pages", static_cast<Book::IntProps>(1)},
                          {"orderItemPrice", static_cast<Book::IntProps>(2)}};
  Book::s_book_string_map["orderItemPrice"] = Book::kReserved4;
  const std::string seed = R"({"error":"false","response":[)" + kItem + ",7," + kItem +
                           R"(,[{"orderItemEan":"nested"}],{}],"more":{"response":[1]}})";
  Compare(seed);
  for (std::size_t size = 0; size < seed.size(); ++size) Compare(seed.substr(0, size));
  for (const std::string& token : kTokens) {
    for (std::size_t at = 0; at <= seed.size(); ++at) {
      Compare(seed.substr(0, at) + token + seed.substr(at));
    }
  }
  std::mt19937 random(71);
  const auto pick = [&](std::size_t size) { return random() % size; };
  for (int round = 0; round < 20000; ++round) {
    std::string body = seed;
    for (std::size_t changes = 1 + pick(4); changes > 0 && !body.empty(); --changes) {
      const std::size_t at = pick(body.size()), size = pick(std::min<std::size_t>(40, body.size()));
      const std::string part = body.substr(pick(body.size()), size);
      switch (pick(4)) {
        case 0:
          body.insert(at, kTokens[pick(kTokens.size())]);
          break;
        case 1:
          body.erase(at, size);
          break;
        case 2:
          body.insert(at, part);
          break;
        default:
          body[at] = static_cast<char>(random());
          break;
      }
    }
    Compare(body);
    if (HasFatalFailure()) break;
  }
  Book::s_book_int_map.clear();
  Book::s_book_string_map.erase("orderItemPrice");
}

}  // namespace
}  // namespace saltmoor::quire
