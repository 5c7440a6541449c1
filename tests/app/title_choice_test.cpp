#include "title_choice.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/files.h"
#include "text.h"

namespace app {
namespace {

class ListedTitles : public testing::Test {
 protected:
  void SetUp() override {
    SetUtf8Locale();
    ASSERT_TRUE(list_.ReplaceList(
        21, {{"11111111", "A", ""}, {"", "no EAN", ""}, {"33333333", "C", ""}}, false));
  }

  /// The chosen EAN, or "exit code: message".
  std::string Choose(const std::string& named) const try {
    const auto find = [](const std::string& words) -> std::vector<NamedTitle> {
      if (words == "none") return {};
      return {{"44444444", "The Fog", "Ann"},
              {"55555555", "The Fog at Sea", "Bob"},
              {"66666666", "1984", "Fo\x1b"},
              {"", "Fog without", ""}};
    };
    const auto find_number = [this](std::size_t number) { return list_.FindEan(number); };
    return ChooseTitle(named, {find, "Look.", find_number});
  } catch (const CommandError& error) {
    return std::to_string(error.code) + ": " + error.what();
  }

  const tests::TemporaryDirectory directory_;
  const std::string file_ = directory_ / "list.json";
  TitleCache list_{file_};
};

TEST_F(ListedTitles, AreChosenByEanNumberOrWords) {
  const std::pair<const char*, const char*> cases[] = {
      {"978-0-00-000001-7", "9780000000017"},
      {"9780000000017", "9780000000017"},
      {"21", "11111111"},
      {"#23", "33333333"},
      {"#24", "5: The list has no title #24. Look."},
      {"#22", "5: The list has no title #22. Look."},
      {"THE FOG", "44444444"},
      {"fog bob", "55555555"},
      {"1984", "66666666"},
      {"none", "5: No title has \"none\". Look."},
      {"", "2: The name of a book is empty. Look."},
      {" ", "2: The name of a book is empty. Look."}};
  for (const auto& [named, chosen] : cases) EXPECT_EQ(Choose(named), chosen) << named;
  const std::string ambiguous = Choose("the");
  EXPECT_EQ(ambiguous.find("5: More than one title has \"the\": “The Fog” (44444444), “The Fog at"),
            0U)
      << ambiguous;
}

TEST_F(ListedTitles, SurviveTheProcessPrivately) {
  struct stat status {};
  ASSERT_EQ(stat(file_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
  EXPECT_EQ(TitleCache(file_).FindEan(23), "33333333");
  EXPECT_EQ(TitleCache(file_).Find("33333333"), "C");
  for (const char* damaged :
       {"", "[]", "{\"first_number\": -1, \"list\": [\"1\"]}", "{\"first_number\": 1}",
        "{\"first_number\": 1, \"list\": [5]}", "{\"catalogue\": {\"1\": 5}, \"bought\": []}"}) {
    tests::WriteFile(file_, damaged);
    EXPECT_EQ(TitleCache(file_).FindEan(1), "") << damaged;
    EXPECT_TRUE(TitleCache(file_).titles().empty()) << damaged;
  }
  EXPECT_FALSE(TitleCache(directory_ / "no/such").ReplaceList(1, {}, false));
}

}  // namespace
}  // namespace app
