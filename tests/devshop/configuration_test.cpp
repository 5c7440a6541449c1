#include "devshop/running_shop.h"

namespace tests {
namespace {

class DevshopConfigurationService : public RunningShop {};

TEST_F(DevshopConfigurationService, AnswersSignedRequestOnce) {
  const std::string a = "593ad973bce3646861c564bcf7420315baf54afa9afb7bc01fa17564f3626e5d";
  const std::string b = "4b6bf8f78793dd21ec7dca44b21c88f664d8ac05f32323ac7230373ae20e6e8a";
  const std::tuple<const char*, std::string, int, const char*> rows[] = {
      {"device_sn=2&nonce=a", a, 403, "client_signature"},
      {"nonce=a&device_sn=1", a, 403, "client_signature"},
      {"device_sn=1&nonce=a&more=1", a, 403, "client_signature"},
      {"device_sn=1&nonce=a", "", 403, "client_signature"},
      {"nonce=a", a, 403, "device_sn"},
      {"device_sn=1", a, 403, "nonce"},
      // A refused request does not use up its nonce; an answered one does.
      {"device_sn=1&nonce=a", a, 200, "OPDSStartPage"},
      {"device_sn=1&nonce=a", a, 403, "nonce"},
      {"device_sn=SN%201%2F2&nonce=0123456789abcdef", b, 200, "OPDSStartPage"}};
  std::string body;
  for (const auto& [query, signature, status, named] : rows) {
    const auto answer =
        Client("config").Get("/api/config/v1/get-device-opds-config?" + std::string(query) +
                                 "&client_signature=" + signature,
                             {{"Host", "config.saltmoor.example"}});
    body = answer->body;
    EXPECT_EQ(answer->status, status) << query;
    EXPECT_NE(body.find(named), std::string::npos) << body;
  }
  const Json opds = Json::parse(body)["opdsUrl"];
  EXPECT_EQ(opds.size(), 6u);
  for (const auto& [name, url] : opds.items()) {
    EXPECT_EQ(Get(url.get<std::string>().substr(kHost.size())).status, 200) << name;
  }
}

}  // namespace
}  // namespace tests
