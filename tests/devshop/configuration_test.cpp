#include "devshop/running_shop.h"

namespace tests {
namespace {

class DevshopConfigurationService : public RunningShop {
 protected:
  httplib::Result Ask(const std::string& query, const std::string& signature) {
    return Client("config").Get(
        "/api/config/v1/get-device-opds-config?" + query + "&client_signature=" + signature,
        {{"Host", "config.saltmoor.example"}});
  }
};

TEST_F(DevshopConfigurationService, AnswersSignedRequestOnce) {
  const std::string query = "device_sn=SN%201%2F2&nonce=0123456789abcdef";
  const std::string signature = "4b6bf8f78793dd21ec7dca44b21c88f664d8ac05f32323ac7230373ae20e6e8a";
  const auto answer = Ask(query, signature);
  ASSERT_EQ(answer->status, 200) << answer->body;
  const Json configuration = Json::parse(answer->body);
  const Json& opds = configuration["opdsUrl"];
  EXPECT_EQ(opds["OPDSStartPage"], "https://shop.quire.example/de/4711/opds/start");
  for (const char* name :
       {"ImpressumURL", "AGBURL", "DatenschutzURL", "WiderrufsrechtURL", "HilfeURL"}) {
    const std::string path = opds[name].get<std::string>().substr(26);
    EXPECT_EQ(Get(path).status, 200) << name << " " << path;
  }
  const auto again = Ask(query, signature);
  EXPECT_EQ(again->status, 403);
  EXPECT_NE(again->body.find("nonce"), std::string::npos) << again->body;
}

TEST_F(DevshopConfigurationService, RefusesRequestWithWrongSignature) {
  const std::string query = "device_sn=1&nonce=a";
  const std::string signature = "593ad973bce3646861c564bcf7420315baf54afa9afb7bc01fa17564f3626e5d";
  const std::pair<const char*, const char*> rows[] = {
      {"device_sn=2&nonce=a", "client_signature"},
      {"nonce=a&device_sn=1", "client_signature"},
      {"device_sn=1&nonce=a&more=1", "client_signature"},
      {"nonce=a", "device_sn"},
      {"device_sn=1", "nonce"}};
  for (const auto& [other, named] : rows) {
    const auto answer = Ask(other, signature);
    EXPECT_EQ(answer->status, 403) << other;
    EXPECT_NE(answer->body.find(named), std::string::npos) << answer->body;
  }
  EXPECT_EQ(Ask(query, "")->status, 403);
  // A refused request does not use up its nonce.
  EXPECT_EQ(Ask(query, signature)->status, 200);
}

}  // namespace
}  // namespace tests
