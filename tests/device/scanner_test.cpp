#include <SQLiteCpp/SQLiteCpp.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <string>

#include "book_metadata.h"
#include "epub_metadata.h"
#include "scan.h"
#include "support/files.h"
#include "support/process.h"

namespace fs = std::filesystem;

namespace tests {
namespace {

std::string Package(const std::string& metadata) {
  return "<package xmlns='http://www.idpf.org/2007/opf' xmlns:opf='http://www.idpf.org/2007/opf' "
         "xmlns:dc='http://purl.org/dc/elements/1.1/'><metadata>" +
         metadata + "</metadata></package>";
}

/// An EPUB file with a package of the test.
class EpubMetadata : public testing::Test {
 protected:
  scanner::BookMetadata ReadPackage(const std::string& package) {
    WriteEpub(file_, package);
    return scanner::ReadEpubMetadata(file_);
  }

  const TemporaryDirectory directory_;
  const std::string file_ = directory_ / "book.epub";
};

TEST_F(EpubMetadata, ReadsTitleAndAuthors) {
  const std::tuple<std::string, std::string, std::string> cases[] = {
      {Package("<dc:title>Die\n  \xC3\x84ngste &amp; W\xC3\xBCnsche</dc:title><dc:creator "
               "opf:role='aut'>A. Eins</dc:creator><dc:creator>B. Zwei</dc:creator>"
               "<dc:creator opf:role='ill'>C. Drei</dc:creator>"),
       "Die \xC3\x84ngste & W\xC3\xBCnsche", "A. Eins, B. Zwei"},
      {Package("<dc:title> </dc:title><dc:title>Second</dc:title>"), "Second", ""},
      {"<package xmlns:x='http://purl.org/dc/elements/1.1/'><metadata><dc-metadata><x:title>Old"
       "</x:title></dc-metadata></metadata></package>",
       "Old", ""},
      {"<?xml version='1.0' encoding='ISO-8859-1'?>" + Package("<dc:title>\xC4</dc:title>"),
       "\xC3\x84", ""},
      {Package("<dc:title>a\xE2\x80\xAE"  // an override of the direction
               "b\xC2\x9B"                // a control sequence
               "31mc\x7F</dc:title>"),
       "ab 31mc", ""},
      {Package("<dc:title>Torn</dc:title>").substr(0, 215), "Torn", ""},
  };
  for (const auto& [package, title, author] : cases) {
    const scanner::BookMetadata metadata = ReadPackage(package);
    EXPECT_EQ(metadata.title, title) << package;
    EXPECT_EQ(metadata.author, author) << package;
  }
  // Truncated at a character boundary.
  std::string long_title;
  while (long_title.size() < 3001) long_title += "\xE2\x82\xAC";
  EXPECT_EQ(ReadPackage(Package("<dc:title>" + long_title + "</dc:title>")).title,
            long_title.substr(0, 999));
}

TEST_F(EpubMetadata, IgnoresHostileFilesAtLittleCost) {
  const std::string bomb(16 << 20, ' ');  // 16 KiB on the disk
  const std::map<std::string, std::string> files[] = {
      {{"OEBPS/content.opf", Package("<dc:title>T</dc:title>")}},
      {{"META-INF/container.xml", kContainer}},
      {{"META-INF/container.xml", "<container/>"}},
      {{"META-INF/container.xml", "no XML"}, {"OEBPS/content.opf", "<"}},
      {{"META-INF/container.xml", bomb}},
      {{"META-INF/container.xml", kContainer}, {"OEBPS/content.opf", bomb}},
      {{"META-INF/container.xml", kContainer},
       {"OEBPS/content.opf", std::string(1 << 20, '<') + "a"}},
  };
  for (const auto& entries : files) {
    WriteZip(file_, entries);
    EXPECT_EQ(scanner::ReadEpubMetadata(file_).title, "");
  }
  const std::string title = "<dc:title>T</dc:title>";
  EXPECT_EQ(
      ReadPackage("<!DOCTYPE package PUBLIC 'x' 'file:///etc/passwd'>" + Package(title)).title,
      "T");
  std::string laughs, nested, attributes;
  for (int i = 0; i < 20'000; ++i) laughs += "&e;";
  for (int i = 0; i < 100'000; ++i) nested += "<dc:title>";
  for (int i = 0; i < 60'000; ++i) attributes += " a" + std::to_string(i) + "=''";
  const std::string declared =
      "<!DOCTYPE package [<!ENTITY e '" + std::string(100'000, 'x') + "'>]>";
  for (const std::string& package : {
           declared + Package("<x>" + laughs + "</x>" + title),
           declared + Package("<x y='" + laughs + "'/>" + title),
           "<!DOCTYPE package [<!ENTITY e SYSTEM 'file:///etc/passwd'>]>" +
               Package("<dc:title>&e;</dc:title>"),
           Package("<x" + attributes + "/>" + title),
           Package("<!--" + std::string(1 << 20, 'x') + "-->" + title),
           Package(std::string(5 << 20, ' ') + title),
           Package(nested),
       }) {
    EXPECT_EQ(ReadPackage(package).title, "") << package.substr(0, 300);
  }
  std::map<std::string, std::string> many = {{"META-INF/container.xml", kContainer},
                                             {"OEBPS/content.opf", Package(title)}};
  for (int i = 0; i < 50'000; ++i) many["OEBPS/" + std::to_string(i)] = "";
  WriteZip(file_, many);
  EXPECT_EQ(scanner::ReadEpubMetadata(file_).title, "");
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  EXPECT_LT(usage.ru_maxrss, 1 << 20) << "KiB, most of it a sanitizer's";
}

TEST_F(EpubMetadata, ReadsWhatDamageHasLeft) {
  WriteEpub(file_, Package("<dc:title>Whole</dc:title>"));
  const std::string whole = ReadFile(file_);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    WriteFile(file_, whole.substr(0, size));
    EXPECT_EQ(scanner::ReadEpubMetadata(file_).title, "") << size;
  }
  for (std::size_t at = 0; at < whole.size(); at += 2) {
    std::string flipped = whole;
    flipped[at] = static_cast<char>(~flipped[at]);
    WriteFile(file_, flipped);
    scanner::ReadEpubMetadata(file_);
  }
}

/// A PDF file whose information dictionary has these entries.
std::string Pdf(const std::string& information) {
  return "%PDF-1.4\n1 0 obj<<" + information +
         ">>endobj\n2 0 obj<</Type/Catalog/Pages 3 0 R>>endobj\n"
         "3 0 obj<</Type/Pages/Kids[4 0 R]/Count 1>>endobj\n"
         "4 0 obj<</Type/Page/Parent 3 0 R/MediaBox[0 0 9 9]>>endobj\n"
         "trailer<</Root 2 0 R/Info 1 0 R/Size 5>>\n%%EOF\n";
}

std::string FictionBook(const std::string& title_info) {
  return "<?xml version='1.0'?><FictionBook xmlns='http://www.gribuser.ru/xml/fictionbook/2.0'>"
         "<description><title-info>" +
         title_info + "</title-info></description><body>";
}

TEST(BookMetadata, ReadsEveryFormatThatCarriesIt) {
  const TemporaryDirectory directory;
  WriteZip(directory / "a.fb2.zip", {{"a.fb2", FictionBook("<book-title>Zipped</book-title>")}});
  const std::string zipped = ReadFile(directory / "a.fb2.zip");
  const std::string person = "<author><first-name>A</first-name><last-name>B</last-name></author>";
  const std::string lines(5 << 20, '\n');
  std::string nested;
  for (int i = 0; i < 100'000; ++i) nested += "<a>";
  const struct {
    std::string name, format, content, title, author;
  } cases[] = {
      {"a.pdf", "pdf", Pdf("/Title(Der  Titel)/Author(A. Eins)"), "Der Titel", "A. Eins"},
      {"a.pdf", "pdf", Pdf("/Title<FEFF00C4202E000A0078>"), "\xC3\x84", ""},
      {"a.pdf", "pdf", Pdf("/Title<FEFF001B0054000A0041007500740068006F0072003A>"), "T", ""},
      {"-v \n'.pdf", "pdf", Pdf("/Title(N)"), "N", ""},
      {"a.pdf", "pdf", Pdf("/Title(" + std::string(300'000, 'x') + ")"), std::string(1000, 'x'),
       ""},
      {"a.pdf", "pdf", "%PDF-1.4 and nothing else", "", ""},
      {"a.pdf", "pdf", "", "", ""},
      {"A. Eins - Der - Titel.txt", "txt", "x", "Der - Titel", "A. Eins"},
      {"Titel\x1b\t.txt", "txt", "x", "Titel", ""},
      {"\xFF - \xFF.txt", "txt", "x", "\xEF\xBF\xBD", "\xEF\xBF\xBD"},
      {"a.fb2", "fb2", FictionBook("<book-title>T &amp; U</book-title>" + person + person), "T & U",
       "A B, A B"},
      {"a.fb2", "fb2",
       "<?xml version='1.0' encoding='windows-1251'?><FictionBook><description><title-info>"
       "<book-title>\xC0</book-title></title-info>",
       "\xD0\x90", ""},
      {"a.fb2", "fb2",
       "<!DOCTYPE x [<!ENTITY e 'E'>]>" + FictionBook("<book-title>&e;</book-title>"), "", ""},
      {"a.fb2", "fb2", FictionBook(nested + "<book-title>deep</book-title>"), "", ""},
      {"a.fb2", "fb2", FictionBook(lines + "<book-title>late</book-title>"), "", ""},
      {"a.fb2.zip", "fb2.zip", zipped, "Zipped", ""},
      {"a.fb2.zip", "fb2.zip", zipped.substr(0, 40), "", ""},
      {"a.chm", "chm", Pdf("/Title(T)"), "", ""},
  };
  for (const auto& book : cases) {
    WriteFile(directory / book.name, book.content);
    const scanner::BookMetadata metadata =
        scanner::ReadMetadata(directory / book.name, book.format);
    EXPECT_EQ(metadata.title, book.title) << book.name;
    EXPECT_EQ(metadata.author, book.author) << book.name;
  }
}

TEST(BookMetadata, SurvivesEveryEndOfThePdfReader) {
  const TemporaryDirectory directory;
  const std::string path = std::getenv("PATH");
  WriteFile(directory / "a.pdf", Pdf("/Title(T)"));
  const std::pair<const char*, const char*> readers[] = {
      // The reader of PDF files, and the title that remains.
      {"echo 'Title: T'; kill -SEGV $$", "T"},
      {"while :; do :; done", ""},
      {"while :; do echo 'Subject: S'; done", ""},
      {"exec perl -e '$x = \"x\" x (1 << 30); print \"Title: T\"'", ""},
      {"echo x >\"$0.out\" && echo 'Title: T'", ""},
      {"printf 'Title: \\377\\nAuthor: A\\n'", "\xEF\xBF\xBD"}};
  for (const auto& [script, title] : readers) {
    WriteProgram(directory / "bin/pdfinfo", std::string("#!/bin/sh\n") + script + "\n");
    setenv("PATH", (directory / "bin:" + path).c_str(), 1);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(scanner::ReadMetadata(directory / "a.pdf", "pdf").title, title) << script;
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15)) << script;
  }
  setenv("PATH", directory.path().c_str(), 1);
  EXPECT_EQ(scanner::ReadMetadata(directory / "a.pdf", "pdf").title, "") << "without pdfinfo";
  setenv("PATH", path.c_str(), 1);
}

/// A library, and a directory with books.
class LibraryScan : public testing::Test {
 protected:
  std::string RunScan(const std::string& name = "Downloads") {
    const scanner::ScanResult result = scanner::Scan(directory_ / name, library_);
    return std::to_string(result.books) + " books, " + std::to_string(result.new_books) + " new, " +
           std::to_string(result.deleted_books) + " gone";
  }

  std::string ReadRows() {
    const SQLite::Database library(library_);
    SQLite::Statement query(
        library,
        "SELECT replace(path, rtrim(path, replace(path, '/', '')), ''), format, size, "
        "modified > 1600000000, ifnull(title, 'null'), ifnull(author, 'null') "
        "FROM books ORDER BY path");
    std::string rows;
    for (; query.executeStep(); rows += "\n") {
      for (int i = 0; i < query.getColumnCount(); ++i) rows += query.getColumn(i).getString() + "|";
    }
    return rows;
  }

  const TemporaryDirectory directory_;
  const std::string library_ = directory_ / "library.sqlite";
};

TEST_F(LibraryScan, RecordsBookFilesAndRemovesDeletedOnes) {
  WriteFile(directory_ / "Downloads/a.pdf", "12345");
  WriteFile(directory_ / "Downloads/deep/er/B.FB2.ZIP", "1");
  WriteEpub(directory_ / "Downloads/c's.epub",
            Package("<dc:title>C</dc:title><dc:creator>D</dc:creator>"));
  for (const char* ignored : {"x.pdf.part", ".hidden.pdf", "noextension", "z.exe", ".hid/y.pdf"}) {
    WriteFile(directory_ / "Downloads/" + ignored, "1");
  }
  WriteFile(directory_ / "Downloads2/sibling.pdf", "1");
  fs::create_symlink(directory_ / "Downloads2", directory_ / "Downloads/link");
  fs::create_symlink(directory_ / "Downloads/a.pdf", directory_ / "Downloads/link.pdf");

  EXPECT_EQ(RunScan("Downloads2"), "1 books, 1 new, 0 gone");
  EXPECT_EQ(fs::status(library_).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(RunScan("Downloads/"), "3 books, 3 new, 0 gone");
  const std::string size = std::to_string(fs::file_size(directory_ / "Downloads/c's.epub"));
  EXPECT_EQ(ReadRows(),
            "a.pdf|pdf|5|1|null|null|\nc's.epub|epub|" + size +
                "|1|C|D|\nB.FB2.ZIP|fb2.zip|1|1|null|null|\nsibling.pdf|pdf|1|1|null|null|\n");

  // A changed file is read again; books of other directories stay.
  WriteEpub(directory_ / "Downloads/c's.epub", Package("<dc:title>Changed</dc:title>"));
  fs::remove_all(directory_ / "Downloads/deep");
  fs::remove(directory_ / "Downloads/a.pdf");
  EXPECT_EQ(RunScan(), "1 books, 0 new, 2 gone");
  EXPECT_NE(ReadRows().find("|1|Changed|null|\nsibling.pdf"), std::string::npos) << ReadRows();
}

TEST_F(LibraryScan, KeepsLibraryWhenDirectoryIsUnreadable) {
  WriteFile(directory_ / "Downloads/a.pdf", "1");
  RunScan();
  fs::rename(directory_ / "Downloads", directory_ / "away");
  EXPECT_THROW(RunScan(), std::runtime_error);
  EXPECT_EQ(ReadRows(), "a.pdf|pdf|1|1|null|null|\n");
  fs::rename(directory_ / "away", directory_ / "Downloads");

  fs::create_directory(directory_ / "elsewhere");
  EXPECT_THROW(scanner::Scan(directory_ / "Downloads", directory_ / "none/library.sqlite"),
               std::runtime_error);
  EXPECT_THROW(scanner::Scan(directory_ / "Downloads", directory_ / "elsewhere"),
               std::runtime_error);
  EXPECT_TRUE(fs::is_directory(directory_ / "elsewhere"));
}

TEST_F(LibraryScan, ReplacesDamagedLibraryAndKeepsItsFile) {
  WriteFile(directory_ / "Downloads/a.pdf", "1");
  WriteFile(library_, "no library at all, but something that a user may want to look at");
  EXPECT_EQ(RunScan(), "1 books, 1 new, 0 gone");
  EXPECT_EQ(ReadFile(library_ + ".damaged").substr(0, 10), "no library");

  // The table of another program, then a damaged page.
  fs::remove(library_);
  SQLite::Database(library_, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE)
      .exec("CREATE TABLE books(isbn)");
  EXPECT_EQ(RunScan(), "1 books, 1 new, 0 gone");
  std::string bytes = ReadFile(library_);
  bytes.replace(4096, 1000, 1000, '\xff');  // the table's page
  WriteFile(library_, bytes);
  EXPECT_EQ(RunScan(), "1 books, 1 new, 0 gone");
  EXPECT_TRUE(fs::exists(library_ + ".damaged-3"));
  EXPECT_EQ(ReadRows(), "a.pdf|pdf|1|1|null|null|\n");
}

int reads_left = 0;  // until reading fails
bool fails_once = true;

ssize_t FailingRead(int file, void* buffer, std::size_t size, off_t offset) {
  const int left = reads_left--;
  if (left > 0 || (left < 0 && fails_once)) return pread(file, buffer, size, offset);
  errno = EIO;
  return -1;
}

TEST_F(LibraryScan, KeepsLibraryWhenDiskFails) {
  WriteFile(directory_ / "Downloads/a.pdf", "1");
  RunScan();
  sqlite3_vfs* const disk = sqlite3_vfs_find(nullptr);
  for (const char* call : {"pread", "pread64"}) {
    disk->xSetSystemCall(disk, call, reinterpret_cast<sqlite3_syscall_ptr>(FailingRead));
  }
  int failures = 0;
  for (const bool once : {true, false}) {
    fails_once = once;
    for (int reads = 0; reads == 0 || reads_left < 0; ++reads) {
      WriteFile(directory_ / "Downloads/b.pdf", std::string(reads + 2, 'b'));
      reads_left = reads;
      try {
        RunScan();
      } catch (const std::runtime_error&) {
        ++failures;
      }
    }
  }
  disk->xSetSystemCall(disk, nullptr, nullptr);
  EXPECT_GT(failures, 4);
  EXPECT_FALSE(fs::exists(library_ + ".damaged"));
  EXPECT_EQ(RunScan(), "2 books, 0 new, 0 gone");
}

/// The state after a cut in the middle of a transaction: its journal is there.
TEST_F(LibraryScan, RollsBackInterruptedScanForReader) {
  WriteFile(directory_ / "Downloads/a.pdf", "1");
  RunScan();
  const std::string copy = directory_ / "copy.sqlite";
  {
    SQLite::Database library(library_, SQLite::OPEN_READWRITE);
    library.exec("PRAGMA cache_size = 1; BEGIN; UPDATE books SET title = 'cut'");
    for (int i = 0; i < 1000; ++i) {
      library.exec("INSERT INTO books VALUES('" + std::string(1000, 'x') + std::to_string(i) +
                   "', 'pdf', 1, 1, NULL, NULL)");
    }
    fs::copy_file(library_, copy);
    fs::copy_file(library_ + "-journal", copy + "-journal");
  }
  ASSERT_GT(fs::file_size(copy), 100'000U);
  const std::vector<scanner::LibraryBook> books = scanner::ReadLibrary(copy);
  ASSERT_EQ(books.size(), 1U);
  EXPECT_EQ(books[0].title, "");
}

TEST_F(LibraryScan, ReadsUntitledBookAgain) {
  const std::string book = directory_ / "Downloads/a.epub";
  fs::create_directories(directory_ / "Downloads");
  WriteEpub(book, Package("<dc:title>A</dc:title>"));
  const std::string bytes = ReadFile(book);
  const auto time = fs::last_write_time(book);
  const auto write = [&](const std::string& content) {
    WriteFile(book, content);
    fs::last_write_time(book, time);
  };
  write(std::string(bytes.size(), 'x'));
  EXPECT_EQ(RunScan(), "1 books, 1 new, 0 gone");
  write(bytes);
  EXPECT_EQ(RunScan(), "1 books, 0 new, 0 gone");
  write(std::string(bytes.size(), 'x'));
  RunScan();
  EXPECT_NE(ReadRows().find("|1|A|null|"), std::string::npos) << ReadRows();
}

TEST_F(LibraryScan, RunsAsCommand) {
  WriteFile(directory_ / "Downloads/a.pdf", "1");
  const std::string scanner = QUIRE_BUILD_DIR "/bin/scanner.app";
  const ProcessResult scan =
      RunProgram({scanner, "--library", library_, "--scan", directory_ / "Downloads"});
  EXPECT_EQ(scan.out, "scanned " + (directory_ / "Downloads") + ": 1 books, 1 new, 0 gone\n");
  EXPECT_EQ(scan.exit_code, 0);
  EXPECT_EQ(RunProgram({scanner, "--library", library_, "--scan", directory_ / "none"}).exit_code,
            1);
}

TEST_F(LibraryScan, ListsRecordedBooksAsJson) {
  const Command list{QUIRE_BUILD_DIR "/bin/scanner.app", "--list", "--library", library_};
  EXPECT_EQ(RunProgram(list).out, "[]\n");
  WriteFile(directory_ / "Downloads/b\xFF.pdf", "12345");
  WriteEpub(directory_ / "Downloads/a.epub",
            Package("<dc:title>\"A\"</dc:title><dc:creator>D</dc:creator>"));
  RunScan();
  const auto books = nlohmann::json::parse(RunProgram(list).out, nullptr, false);
  ASSERT_EQ(books.size(), 2U) << books;
  EXPECT_EQ(books[0]["path"], directory_ / "Downloads/a.epub");
  EXPECT_EQ(books[0]["title"], "\"A\"");
  EXPECT_EQ(books[0]["author"], "D");
  EXPECT_EQ(books[1]["format"], "pdf");
  EXPECT_EQ(books[1]["size_bytes"], 5);
  EXPECT_GT(books[1]["modified_s"], 1'600'000'000);
  EXPECT_TRUE(books[1]["title"].is_null());
  WriteFile(library_, "no library");
  EXPECT_EQ(RunProgram(list).exit_code, 1);
}

}  // namespace
}  // namespace tests
