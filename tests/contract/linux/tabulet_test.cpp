#include <cstdlib>
#include <memory>

#include "saltmoor/utilities/book_store_auth_configs.h"
#include "support/suite.h"

namespace {

TEST(LinuxTabulet, SurvivesInvalidArguments) {
  Message(99, nullptr, nullptr, 0);
  sm_print_log2(-1, nullptr, 0, nullptr, "%d %%", 7);
  for (const auto& [text, result] :
       {std::pair("a\xff\x62\xc3", "A\xff\x42\xc3"), std::pair("\xe2\x82x", "\xe2\x82X")}) {
    const std::unique_ptr<char, decltype(&std::free)> upper(utf_toupper_ext(text, nullptr),
                                                            std::free);
    EXPECT_STREQ(upper.get(), result);
  }
}

TEST(LinuxBitmap, IgnoresDamagedResources) {
  const TemporaryDirectory directory;
  ASSERT_EQ(SaveBitmap((directory / "logo").c_str(), GetResource("browser_quire", nullptr)), 1);
  const std::string good = ReadAll(directory / "logo");
  std::string wide = good;
  wide[21] = '\x7f';
  std::string packed = good;
  packed[30] = 1;
  const std::string zeros(200, '\0');
  fs::create_directories("/ebrmain/resources");
  int number = 0;
  for (const std::string& content :
       {std::string(), "BM" + std::string(200, '\xff'), "BM" + zeros,
        good.substr(0, good.size() - 1), "xx" + good.substr(2), wide, packed}) {
    const std::string name = "damaged" + std::to_string(number++);
    WriteAll("/ebrmain/resources/" + name + ".bmp", content);
    EXPECT_EQ(GetResource(name.c_str(), nullptr), nullptr) << name;
  }
  WriteAll("/ebrmain/resources/good.bmp", good);
  EXPECT_EQ(SaveBitmap((directory / "copy").c_str(), GetResource("good", nullptr)), 1);
  EXPECT_EQ(ReadAll(directory / "copy"), good);
  fs::remove_all("/ebrmain/resources");
}

TEST(LinuxBookStoreAuthConfigs, DeletesOnlyRecord) {
  const fs::path directory = "/mnt/ext1/system/config";
  WriteAll(directory / "bookstore_auth.cfg", "shop=authorised\n");
  WriteAll(directory / "quire_config.cfg", "user_name=anna\n");
  saltmoor::utilities::BookStoreAuthConfigs::logOut();
  EXPECT_FALSE(fs::exists(directory / "bookstore_auth.cfg"));
  EXPECT_TRUE(fs::exists(directory / "quire_config.cfg"));
}

}  // namespace
