#include "json_text.h"

#include <cstdint>

#include "fake_device_fixture.h"

namespace saltmoor::quire {
namespace {

TEST(ToString, ConvertsParsedValues) {
  for (const char* itself :
       {"true", "false", "12", "-5", "0", "2147483647", "2147483648", "4294967295", "4294967296",
        "9781234567897", "9223372036854775807", "-2147483649", "-9223372036854775808"}) {
    EXPECT_EQ(ToString(ParseJson(itself)), itself);
  }
  for (const char* nothing : {"\"\"", "null", "12.5", "12.0", "1e3", "[1]", R"({"a":1})",
                              "9223372036854775808", "18446744073709551615"}) {
    EXPECT_EQ(ToString(ParseJson(nothing)), "") << nothing;
  }
  EXPECT_EQ(ToString(ParseJson(R"("a \u00e4")")), "a \u00e4");
}

TEST(ToString, ConvertsConstructedValues) {
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
