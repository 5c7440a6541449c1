#include "file_names.h"

#include <unistd.h>

#include <fstream>

#include "book_files.h"
#include "fake_device_fixture.h"

namespace saltmoor::quire {
namespace {

TEST(VerifyFilename, RemovesCharactersAndTruncates) {
  const std::tuple<const char*, unsigned, bool, const char*> rows[] = {
      {"a\"'*/:<>?\\`|b", 255, true, "ab"},
      {"../../etc/passwd", 255, true, "_....etcpasswd"},
      {"#1", 255, false, "_#1"},
      {"#1", 255, true, "1"},
      {"a#1", 255, false, "a#1"},
      {"#.a", 255, true, "_.a"},
      {" \t}~\x7f\x01 A", 255, true, " \t}~\x7f\x01 A"},
      {"abc", 2, true, "ab"},
      {"abc", 0, true, ""},
      {".abc", 2, true, "_.a"},
      {"a\u20ac\U0001d11ez", 3, true, "a\u20ac\U0001d11e"},
      {"ab\x7f\x80\x80z", 2, true, "ab\x7f\x80\x80"}};
  for (const auto& [name, max_chars, drop_hash, clean] : rows) {
    EXPECT_EQ(VerifyFilename(name, max_chars, drop_hash), clean) << name;
  }
}

TEST(ParseToNameExtention, SplitsAtLastDot) {
  const std::tuple<const char*, const char*, const char*> rows[] = {{"", "", ""},
                                                                    {".a", ".a", ""},
                                                                    {"/d.d/a", "/d.d/a", ""},
                                                                    {"a.", "a", ""},
                                                                    {"a.b.EPUB", "a.b", "EPUB"},
                                                                    {"/d.d/a.b", "/d.d/a", "b"},
                                                                    {"/d/.a", "/d/", "a"}};
  for (const auto& [path, name, extension] : rows) {
    EXPECT_EQ(ParseToNameExtention(path), std::make_tuple(name, extension)) << path;
  }
}

TEST(ExtentionByMime, MatchesFirstPrefix) {
  const std::map<std::string, std::string> rows = {{"text/plain", "txt"},
                                                   {"text/xml", "fb2"},
                                                   {"text/html; charset=utf-8", "htm"},
                                                   {"application/x-chm", "chm"},
                                                   {"text/rtf", "rtf"},
                                                   {"application/msword", "doc"},
                                                   {"application/x-mobipocket-ebook", "prc"},
                                                   {"application/pdfx", "pdf"},
                                                   {"image/x-djvu", "djvu"},
                                                   {"image/vnd.djvu", "djv"},
                                                   {"application/epub+zip", "epub"},
                                                   {"application/vnd.adobe.adept+xml", "acsm"}};
  for (const auto& [mime, extension] : rows) EXPECT_EQ(ExtentionByMime(mime), extension) << mime;
  for (const char* unknown : {"APPLICATION/PDF", " application/pdf", "application/pd", ""}) {
    EXPECT_EQ(ExtentionByMime(unknown), "") << unknown;
  }
}

TEST(GenerateBookFileName, JoinsAuthorTitleAndFormat) {
  Book book = MakeBook("1", "Anna Muster", "Mein Buch: Teil 2?");
  book.string_props[Book::kEbookFormat] = "EPUB";
  EXPECT_EQ(GenerateBookFileName(book), "/mnt/ext1/Downloads/Anna Muster - Mein Buch Teil 2.epub");
  EXPECT_EQ(GenerateBookShortFileName(MakeBook("1", "A#1", "T")), "A1 - T");
  EXPECT_EQ(GenerateBookShortFileName(Book()), " - ");
  const Book long_title = MakeBook("1", "A", Repeat("ß", 300));
  EXPECT_EQ(GenerateBookShortFileName(long_title), "A - " + Repeat("ß", 251));
}

class BookFile : public FakeDeviceFixture {};

TEST_F(BookFile, IsFirstExistingCandidate) {
  const std::string downloads = "/mnt/ext1/Downloads/", editions = "/mnt/ext1/Digital Editions/";
  Book book = MakeBook("1", "A", "T:# 1");
  book.string_props[Book::kEbookFormat] = "fb2";
  Lines places = {downloads + "A - T 1.fb2",  downloads + "A - T 1.epub", downloads + "A - T 1.pdf",
                  downloads + "A - T 1.acsm", editions + "T 1.epub",      editions + "T 1.pdf"};
  WriteFile(editions + "T 1.acsm", "");
  WriteFile(editions + "T 1.fb2", "");
  EXPECT_EQ(GetBookFile(book), "");
  for (const std::string& place : places) WriteFile(place, "");
  for (const std::string& place : places) {
    EXPECT_EQ(GetBookFile(book), place);
    unlink(place.c_str());
  }
  EXPECT_EQ(GetBookFile(book), "");
}

TEST_F(BookFile, IsSearchedUnderPartBeforeDot) {
  WriteFile("/mnt/ext1/Downloads/J.epub", "");
  EXPECT_EQ(GetBookFile(MakeBook("1", "J. Smith", "Title")), "/mnt/ext1/Downloads/J.epub");
}

}  // namespace
}  // namespace saltmoor::quire
