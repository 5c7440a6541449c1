#include <clocale>
#include <memory>
#include <thread>

#include "saltmoor/utilities/serialization_utils.h"
#include "saltmoor/utilities/signature.h"
#include "saltmoor/utilities/tev_utilities.h"
#include "saltmoor/utilities/to_lower.h"
#include "saltmoor/utilities/url.h"
#include "support/suite.h"

namespace {

using namespace saltmoor::utilities;
using Map = std::map<std::string, std::string>;

std::string Upper(const std::string& text) {
  int length = -1;
  const std::unique_ptr<char, decltype(&std::free)> upper(utf_toupper_ext(text.c_str(), &length),
                                                          std::free);
  if (!upper) return "null";
  EXPECT_EQ(std::string(upper.get()).size(), static_cast<std::size_t>(length));
  return upper.get();
}

TEST(Strings, UppercasesAllAlphabetsInEveryLocale) {
  ASSERT_NE(std::setlocale(LC_ALL, "C"), nullptr);
  EXPECT_EQ(Upper(""), "");
  EXPECT_EQ(Upper("epub 3.0"), "EPUB 3.0");
  EXPECT_EQ(Upper("äöüé þ œ"), "ÄÖÜÉ Þ Œ");
  EXPECT_EQ(Upper("αβγ жщя"), "ΑΒΓ ЖЩЯ");
  EXPECT_EQ(Upper("日本"), "日本");
  EXPECT_EQ(Upper(std::string(100'000, 'a')), std::string(100'000, 'A'));
  std::free(utf_toupper_ext("length is not wanted", nullptr));
  EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
  EXPECT_EQ(MB_CUR_MAX, 1U);
}

TEST(Strings, TrimsWhiteSpaceAndLowersAscii) {
  EXPECT_EQ(SerializationUtils::trim(" \t\n\v\f\r a b \r\n"), "a b");
  EXPECT_EQ(SerializationUtils::trim(" \t "), "");
  EXPECT_EQ(SerializationUtils::trim("\xC2\xA0x\xC2\xA0"), "\xC2\xA0x\xC2\xA0");
  EXPECT_EQ(ToLower("[AZ@azÄ\xC3]"), "[az@azÄ\xC3]");
}

TEST(Url, FindsQueryBeforeFragment) {
  for (const auto& [url, query] :
       {std::pair("http://h/p?status=success&x=?#a?b", "status=success&x=?"),
        {"http://h/p#f?status=success", ""},
        {"http://h/p", ""},
        {"?#", ""}}) {
    EXPECT_EQ(Url(url).GetQuery(), query);
  }
}

TEST(Url, DecodesQueryAndKeepsFirstOfEachName) {
  const std::pair<const char*, Map> cases[] = {
      {"status=%73uccess&status=cancel&a+b=c%2Bd+e", {{"status", "success"}, {"a b", "c+d e"}}},
      {"&&flag&=v&x==y&", {{"flag", ""}, {"", "v"}, {"x", "=y"}}},
      {"a=%zz%4&b=100%&c=%00%c3%BC&%",
       {{"a", "%zz%4"}, {"b", "100%"}, {"c", std::string("\0ü", 3)}, {"%", ""}}},
      {"", {}},
  };
  for (const auto& [query, fields] : cases) EXPECT_EQ(Url::ParseQuery(query), fields);
}

TEST(TevUtilities, DerivesKeyPerThread) {
  // printf %s Tw3kH-pL | sha256sum
  const char kKey[] = "10f6f1504444f0d7ba5dc199c6c119116c3a05b0e40fefc2328210c818058137";
  TevUtilities::SetSha0Data("Tw3kH-pL");
  std::thread([] {
    TevUtilities::SetSha0Data(nullptr);  // the digest of an empty string
    EXPECT_EQ(std::string(TevUtilities::SHA0BadCrypt()).substr(0, 16), "e3b0c44298fc1c14");
  }).join();
  EXPECT_STREQ(TevUtilities::SHA0BadCrypt(), kKey);
}

TEST(Signature, CoversMethodUrlParametersAndSalt) {
  HttpRequest request("GET", "http://config.saltmoor.example/api");
  request.AddGetParam("device_sn", "A 1");
  request.AddGetParam("nonce", "00ff");
  // printf 'GET\nhttp://config.saltmoor.example/api\ndevice_sn=A%201&nonce=00ff\n\n' |
  //   openssl dgst -sha256 -hmac key
  const std::string kSignature = "09ea93eabf94fffe429ee1a2cae1b82fb37ec52c09b13f06385cc151e4c00d0c";
  EXPECT_EQ(Signature::CreateSignature(request, "", "key"), kSignature);

  EXPECT_NE(Signature::CreateSignature(request, "salt", "key"), kSignature);
  EXPECT_NE(Signature::CreateSignature(request, "", "other key"), kSignature);
  request.AddPostParam("a", 1);
  EXPECT_NE(Signature::CreateSignature(request, "", "key"), kSignature);
}

TEST(Signature, GeneratesUniqueNonces) {
  std::set<std::string> nonces;
  for (int i = 0; i < 100; ++i) nonces.insert(Signature::GenerateNonce());
  EXPECT_EQ(nonces.size(), 100u);
  for (const std::string& nonce : nonces) {
    EXPECT_EQ(nonce.size(), 32u);
    EXPECT_EQ(nonce.find_first_not_of("0123456789abcdef"), std::string::npos);
  }
}

}  // namespace
