#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <set>
#include <string>

#include "support/device_folder.h"
#include "tabulet.h"

namespace {

std::string Upper(const std::string& text) {
  int length = -1;
  const std::unique_ptr<char, decltype(&std::free)> upper(utf_toupper_ext(text.c_str(), &length),
                                                          std::free);
  if (!upper) return "null";
  EXPECT_EQ(std::string(upper.get()).size(), static_cast<std::size_t>(length));
  return upper.get();
}

TEST(TextHelpers, UpperCaseKnowsTheAlphabetsAndPassesOnWhatIsNoText) {
  EXPECT_EQ(Upper(""), "");
  EXPECT_EQ(Upper("epub 3.0"), "EPUB 3.0");
  EXPECT_EQ(Upper("äöüé þ œ"), "ÄÖÜÉ Þ Œ");
  EXPECT_EQ(Upper("αβγ жщя"), "ΑΒΓ ЖЩЯ");
  EXPECT_EQ(Upper("日本"), "日本");
  EXPECT_EQ(Upper("a\xff"
                  "b\xc3"),
            "A\xff"
            "B\xc3");
  EXPECT_EQ(Upper("\xe2\x82x"), "\xe2\x82X");
  EXPECT_EQ(Upper(std::string(100'000, 'a')), std::string(100'000, 'A'));
  std::free(utf_toupper_ext("length is not wanted", nullptr));
}

TEST(TextHelpers, UpperCaseLeavesTheProgramsLocaleAlone) {
  ASSERT_NE(std::setlocale(LC_ALL, "C"), nullptr);
  EXPECT_EQ(Upper("ä"), "Ä");
  EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
  EXPECT_EQ(MB_CUR_MAX, 1U);
}

TEST(Device, ADeletedFileIsGoneAndAFolderStays) {
  const DeviceFolder folder;
  WriteAll(folder / "book.epub", "x");
  EXPECT_EQ(tb_unlink((folder / "book.epub").c_str()), 0);
  EXPECT_TRUE(folder.Names().empty());
  EXPECT_EQ(tb_unlink(folder.path().c_str()), -1);
  EXPECT_TRUE(std::filesystem::exists(folder.path()));
}

TEST(Device, FileTypesAreLowerCaseAndEnd) {
  std::set<std::string> extensions;
  for (const tb_file_type* type = GetSupportedFileTypes(); type->extension; ++type) {
    const std::string extension = type->extension;
    EXPECT_TRUE(extensions.insert(extension).second) << extension;
    EXPECT_NE(extension.front(), '.');
    EXPECT_EQ(extension.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ"), std::string::npos);
    EXPECT_NE(type->description, nullptr);
  }
  for (const char* extension : {"epub", "pdf", "txt", "acsm", "htm", "fb2"}) {
    EXPECT_EQ(extensions.count(extension), 1U) << extension;
  }
}

}  // namespace
