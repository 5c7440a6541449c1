#include <gtest/gtest.h>

#include <chrono>

#include "json_output.h"
#include "money.h"
#include "screen.h"
#include "table.h"
#include "text.h"

namespace app {
namespace {

class Utf8 : public testing::Environment {
  void SetUp() override { SetUtf8Locale(); }
};
const auto* const utf8 = testing::AddGlobalTestEnvironment(new Utf8);

TEST(MakePrintable, ReplacesControlCharacters) {
  EXPECT_EQ(MakePrintable("Ä “q” 漢\t\nx"), "Ä “q” 漢  x");
  EXPECT_EQ(MakePrintable("\x1b[31mred\x07\x7f"), "�[31mred��");
  EXPECT_EQ(MakePrintable("\302\23331m"), "�31m") << "the control characters above 127 too";
  EXPECT_EQ(MakePrintable("a\342\200\256b"), "a�b") << "a right-to-left override";
  EXPECT_EQ(MakePrintable(std::string("a\0b", 3)), "a�b");
  EXPECT_EQ(MakePrintable("a\xFF\xC3"), "a��") << "invalid and incomplete UTF-8";
  EXPECT_EQ(MakePrintable("\xC0\xAF"), "��") << "overlong";
}

TEST(DisplayWidth, CountsColumnsNotBytes) {
  EXPECT_EQ(DisplayWidth("Ünal"), 4);
  EXPECT_EQ(DisplayWidth("漢字"), 4);
  EXPECT_EQ(DisplayWidth("e\xCC\x81"), 1) << "a combining accent takes none";
}

TEST(Truncate, EndsWithAnEllipsis) {
  EXPECT_EQ(Truncate("Müller", 6), "Müller");
  EXPECT_EQ(Truncate("Müller", 5), "Müll…");
  EXPECT_EQ(Truncate("Der Weg", 5), "Der…") << "no space before it";
  EXPECT_EQ(Truncate("漢字漢", 4), "漢…") << "a wide character is not halved";
  EXPECT_EQ(Truncate("abc", 1), "…");
  EXPECT_EQ(Truncate("abc", 0), "");
}

TEST(Wrap, BreaksAtSpacesIfPossible) {
  using Lines = std::vector<std::string>;
  EXPECT_EQ(Wrap("one two three", 7), (Lines{"one two", "three"}));
  EXPECT_EQ(Wrap("abcdefgh ij", 4), (Lines{"abcd", "efgh", "ij"}));
  EXPECT_EQ(Wrap("漢字", 1), (Lines{"漢", "字"})) << "it ends, although nothing fits";
  EXPECT_EQ(Wrap("", 10), (Lines{""}));
  EXPECT_EQ(Wrap("one two", 0), (Lines{"one two"}));
}

TEST(Wrap, TakesLinearTimeForHugeTitles) {
  for (const char* unit : {"word ", "x", "漢", "e\xCC\x81"}) {
    std::string title;
    while (title.size() < (4U << 20)) title += unit;
    const auto start = std::chrono::steady_clock::now();
    const auto lines = Wrap(title, 40);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5)) << unit;
    EXPECT_GE(lines.size(), title.size() / 40 / 4) << unit;
  }
  Table table({{"Title", 8}, {"EAN"}});
  table.AddRow({std::string(300'000, 'x'), "9780000000017"});
  for (const int width : {20, 40, 80, 120}) EXPECT_LT(table.Render(width).size(), 400U) << width;
  for (int i = 0; i < 100; ++i) table.AddRow({"short", "9780000000017"});
  const std::string whole = table.Render(0);
  EXPECT_GT(whole.size(), 300'000U) << "not truncated";
  EXPECT_LT(whole.size(), 310'000U) << "padded to the widest";
}

TEST(FormatPrice, MatchesTheCartsTotal) {
  EXPECT_EQ(FormatPrice(1299, "EUR"), "12,99 EUR");
  EXPECT_EQ(FormatPrice(5, "EUR"), "0,05 EUR");
  EXPECT_EQ(FormatPrice(-5, ""), "-0,05");
  EXPECT_EQ(FormatPrice(INT64_MIN, ""), "-92233720368547758,08");
}

TEST(ParsePrice, RejectsWhatIsNotAPrice) {
  EXPECT_EQ(ParsePrice("12.99"), 1299);
  EXPECT_EQ(ParsePrice("12,9"), 1290);
  EXPECT_EQ(ParsePrice("5"), 500);
  EXPECT_EQ(ParsePrice("0.29"), 29);
  EXPECT_EQ(ParsePrice("0.125"), 13);
  for (const char* text : {"", "free", "-1", "1.2.3", "1e3", "99999999999999999999", "4.99 EUR"}) {
    EXPECT_EQ(ParsePrice(text), std::nullopt) << text;
  }
}

// The output of a test is not a terminal, so no style shows.
std::string Rendered(int width) {
  Table table({{"Title", 8}, {"Author", 6}, {"Price", 0, true}, {"EAN"}});
  table.AddRow({"Über die Brücken am Abend", "Jo Ö", "4,99 EUR", "9780000000017"});
  table.AddRow({"Kurz", "", "12,99 EUR", ""});
  return table.Render(width);
}

TEST(Table, TruncatesOnlyTruncatableColumns) {
  EXPECT_EQ(Rendered(0),
            "Title                      Author      Price  EAN\n"
            "Über die Brücken am Abend  Jo Ö     4,99 EUR  9780000000017\n"
            "Kurz                               12,99 EUR\n");
  EXPECT_EQ(Rendered(50),
            "Title             Author      Price  EAN\n"
            "Über die Brücke…  Jo Ö     4,99 EUR  9780000000017\n"
            "Kurz                      12,99 EUR\n");
}

TEST(Table, RendersCardsWhenColumnsDoNotFit) {
  EXPECT_EQ(Rendered(40),
            "Über die Brücken am Abend\n"
            "  Jo Ö · 4,99 EUR · 9780000000017\n"
            "Kurz\n"
            "  12,99 EUR\n");
}

TEST(Table, FitsEveryWidth) {
  for (int width = 20; width < 90; ++width) {
    std::istringstream lines(Rendered(width));
    for (std::string line; std::getline(lines, line);) {
      EXPECT_LE(DisplayWidth(line), width);
      EXPECT_FALSE(line.ends_with(' ')) << line;
    }
  }
}

TEST(RenderDetails, WrapsValuesInTheirColumn) {
  EXPECT_EQ(RenderDetails(20, {{"Name", "Anna"}, {"Company", ""}, {"Street", "Am langen Weg 5"}}),
            "Name    Anna\nStreet  Am langen\n        Weg 5\n");
}

TEST(ProgressLine, KeepsItsWidthAtEveryPercent) {
  for (const int columns : {39, 79}) {
    for (int percent = -1; percent <= 101; ++percent) {
      EXPECT_EQ(DisplayWidth(ProgressLine("Ein Bücherwurm auf langen Reisen", percent, columns)),
                columns)
          << percent;
    }
  }
}

TEST(SerializeJson, EscapesControlCharacters) {
  const std::string text = SerializeJson({{"title", "a\x1b\x7f\302\233Ä\xFF"}});
  EXPECT_EQ(text, "{\n  \"title\": \"a\\u001b\\u007f\\u009bÄ�\"\n}\n");
  EXPECT_EQ(Json::parse(text)["title"], "a\x1b\x7f\xC2\x9BÄ�");
  EXPECT_EQ(SerializeJson("a\u202eb\u2069\u2026 \u200f"), "\"a\\u202eb\\u2069\u2026 \u200f\"\n");
}

}  // namespace
}  // namespace app
