#include <openssl/evp.h>
#include <openssl/hmac.h>

#include "devshop/shop_under_test.h"

namespace tests {
namespace {

const std::string kPath = "/api/config/v1/get-device-opds-config";

std::string hex(const unsigned char* bytes, unsigned size) {
  std::string text;
  char digits[3];
  for (unsigned i = 0; i < size; ++i) {
    std::snprintf(digits, sizeof digits, "%02x", bytes[i]);
    text += digits;
  }
  return text;
}

std::string signature_of(const std::string& url, const std::string& query) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned size = 0;
  EVP_Digest("Tw3kH-pL", 8, digest, &size, EVP_sha256(), nullptr);
  const std::string key = hex(digest, size);
  const std::string text = "GET\n" + url + "\n" + query + "\n\n";
  HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()),
       reinterpret_cast<const unsigned char*>(text.data()), text.size(), digest, &size);
  return hex(digest, size);
}

class ConfigurationService : public ShopUnderTest {
 protected:
  /// The answer to a request for that host; the signature is made over `signed_query`.
  httplib::Result ask(const std::string& query, const std::string& signed_query) {
    const std::string host = "config.saltmoor.example";
    const std::string signature = signature_of("http://" + host + kPath, signed_query);
    return client("config").Get(kPath + "?" + query + "&client_signature=" + signature,
                                {{"Host", host}});
  }
};

TEST_F(ConfigurationService, AnswersASignedRequestOnce) {
  const std::string query = "device_sn=SN%201%2F2&nonce=0123456789abcdef";
  const auto answer = ask(query, query);
  ASSERT_EQ(answer->status, 200) << answer->body;
  const Json configuration = Json::parse(answer->body);
  const Json& opds = configuration["opdsUrl"];
  EXPECT_EQ(opds["OPDSStartPage"], "https://shop.quire.example/de/4711/opds/start");
  for (const char* name :
       {"ImpressumURL", "AGBURL", "DatenschutzURL", "WiderrufsrechtURL", "HilfeURL"}) {
    const std::string path = opds[name].get<std::string>().substr(26);
    EXPECT_EQ(get(path).status, 200) << name << " " << path;
  }
  const auto again = ask(query, query);
  EXPECT_EQ(again->status, 403);
  EXPECT_NE(again->body.find("nonce"), std::string::npos) << again->body;
}

TEST_F(ConfigurationService, RefusesWhatIsNotSignedAsItStands) {
  const auto expect_refused = [&](const std::string& query, const std::string& signed_query,
                                  const char* named) {
    const auto answer = ask(query, signed_query);
    EXPECT_EQ(answer->status, 403) << query;
    EXPECT_NE(answer->body.find(named), std::string::npos) << answer->body;
  };
  expect_refused("device_sn=1&nonce=a", "device_sn=2&nonce=a", "client_signature");
  expect_refused("nonce=a&device_sn=1", "device_sn=1&nonce=a", "client_signature");
  expect_refused("device_sn=1&nonce=a&more=1", "device_sn=1&nonce=a", "client_signature");
  expect_refused("nonce=a", "nonce=a", "device_sn");
  expect_refused("device_sn=1", "device_sn=1", "nonce");
  // A refused request does not use up its nonce.
  EXPECT_EQ(ask("device_sn=1&nonce=a", "device_sn=1&nonce=a")->status, 200);
}

}  // namespace
}  // namespace tests
