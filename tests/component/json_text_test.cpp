#include "json_text.h"

#include <cstdint>

#include "on_device.h"

namespace saltmoor::quire {
namespace {

TEST(ToString, OfWhatAReaderMade) {
  const struct {
    const char* json;
    const char* text;
  } rows[] = {{R"("a \u00e4")", "a \u00e4"},
              {R"("")", ""},
              {"true", "true"},
              {"false", "false"},
              {"null", ""},
              {"12", "12"},
              {"-5", "-5"},
              {"0", "0"},
              {"12.5", ""},
              {"12.0", ""},
              {"1e3", ""},
              {"[1]", ""},
              {R"({"a":1})", ""},
              {"2147483647", "2147483647"},
              {"2147483648", "2147483648"},
              {"4294967295", "4294967295"},
              {"4294967296", "4294967296"},
              {"9781234567897", "9781234567897"},
              {"9223372036854775807", "9223372036854775807"},
              {"9223372036854775808", ""},
              {"18446744073709551615", ""},
              {"-2147483649", "-2147483649"},
              {"-9223372036854775808", "-9223372036854775808"}};
  for (const auto& row : rows) {
    EXPECT_EQ(ToString(Parsed(std::string("[") + row.json + "]")[0]), row.text) << row.json;
  }
}

TEST(ToString, OfValuesMadeInCode) {
  EXPECT_EQ(ToString(Json::Value()), "");
  EXPECT_EQ(ToString(Json::Value(12)), "12");
  EXPECT_EQ(ToString(Json::Value(12u)), "");
  EXPECT_EQ(ToString(Json::Value(Json::UInt64{2147483647})), "");
  EXPECT_EQ(ToString(Json::Value(Json::Int64{INT64_MIN})), "-9223372036854775808");
  const std::string with_zero("a\0b", 3);
  EXPECT_EQ(ToString(Json::Value(with_zero)), with_zero);
}

}  // namespace
}  // namespace saltmoor::quire
