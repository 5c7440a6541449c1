#include "switchboard_config.h"
#include "fake_device_fixture.h"

namespace saltmoor::quire {
namespace {

TEST(SwitchboardConfig, ReadsAndTrimsFields) {
  const Json::Value json = ParseJson(R"({"partner":" p ","clientId":17,"shopUrl":"\t u\n",
      "shopName":"A  B","opdsUrl":{"OPDSStartPage":" s ","ImpressumURL":"i","AGBURL":" a",
      "DatenschutzURL":"d ","WiderrufsrechtURL":"w","HilfeURL":true}})");
  const SwitchboardConfig config = SwitchboardConfig::Parse(json);
  EXPECT_EQ(config.ToJson(), json);
  const char* texts[] = {"p", "17", "u", "A  B", "s", "i", "a", "d", "w", "true", kStoreApi.c_str(),
                         ""};
  for (int field = 0; field < 12; ++field) {
    EXPECT_EQ(config[static_cast<SwitchboardConfig::Fields>(field)], texts[field]) << field;
  }
}

TEST(SwitchboardConfig, StoreIdIsSegmentBeforeOpds) {
  const std::map<std::string, std::string> rows = {{"/opds/", ""},
                                                   {"/opds/a/opds/", ""},
                                                   {"//opds/", ""},
                                                   {"https://shop/4711/opds", ""},
                                                   {"", ""},
                                                   {"https://shop/de/4711/opds/start", "4711"},
                                                   {"https://host/opds/x", "host"},
                                                   {"abc/opds/", "abc"},
                                                   {"a/1/opds/b/2/opds/", "1"},
                                                   {" x /opds/", " x "}};
  for (const auto& [page, id] : rows) {
    Json::Value json;
    json["opdsUrl"]["OPDSStartPage"] = page;
    EXPECT_EQ(SwitchboardConfig::Parse(json)[SwitchboardConfig::kStoreId], id) << page;
  }
}

TEST(SwitchboardConfig, IsEmptyExceptBaseForOtherJson) {
  for (const char* json :
       {"null", "[1]", "\"text\"", R"({"opdsUrl":"x"})", R"({"opdsUrl":["OPDSStartPage"]})",
        R"({"partner":1.5,"clientId":[],"shopUrl":{},"shopName":null,"opdsUrl":7})"}) {
    const SwitchboardConfig config = SwitchboardConfig::Parse(ParseJson(json));
    for (int field = 0; field < 16; ++field) {
      EXPECT_EQ(config[static_cast<SwitchboardConfig::Fields>(field)],
                field == SwitchboardConfig::kStoreApiUrl ? kStoreApi : "")
          << json << " " << field;
    }
  }
}

}  // namespace
}  // namespace saltmoor::quire
