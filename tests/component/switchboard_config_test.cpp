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
  const auto store_id = [](const char* start_page) {
    Json::Value json;
    json["opdsUrl"]["OPDSStartPage"] = start_page;
    return SwitchboardConfig::Parse(json)[SwitchboardConfig::kStoreId];
  };
  for (const char* none :
       {"/opds/", "/opds/x", "/opds/a/opds/", "//opds/", "https://shop/4711/opds", "opds/", ""}) {
    EXPECT_EQ(store_id(none), "") << none;
  }
  const std::pair<const char*, const char*> rows[] = {{"https://shop/de/4711/opds/start", "4711"},
                                                      {"https://host/opds/x", "host"},
                                                      {"abc/opds/", "abc"},
                                                      {"/abc/opds/", "abc"},
                                                      {"a/1/opds/b/2/opds/", "1"},
                                                      {" x /opds/", " x "}};
  for (const auto& [page, id] : rows) EXPECT_EQ(store_id(page), id) << page;
}

TEST(SwitchboardConfig, IsEmptyExceptBaseForOtherJson) {
  for (const char* json :
       {"null", "{}", "[]", "[1]", "5", "1.5", "\"text\"", "true", R"({"opdsUrl":"x"})",
        R"({"opdsUrl":["OPDSStartPage"]})", R"({"opdsUrl":{"OPDSStartPage":{"a":"/b/opds/"}}})",
        R"({"partner":1.5,"clientId":[],"shopUrl":{},"shopName":null,"opdsUrl":7})"}) {
    const SwitchboardConfig config = SwitchboardConfig::Parse(ParseJson(json));
    for (int field = -1; field < 14; ++field) {
      EXPECT_EQ(config[static_cast<SwitchboardConfig::Fields>(field & 15)],
                field == SwitchboardConfig::kStoreApiUrl ? kStoreApi : "")
          << json << " " << field;
    }
  }
  EXPECT_EQ(SwitchboardConfig()[SwitchboardConfig::kStoreApiUrl], kStoreApi);
}

}  // namespace
}  // namespace saltmoor::quire
