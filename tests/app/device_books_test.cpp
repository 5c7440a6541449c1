#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <regex>

#include "quire_on_device.h"
#include "text.h"

namespace fs = std::filesystem;

namespace tests {
namespace {

/// The application with Anna's books on the device and recorded by the scanner.
class BooksOnDevice : public QuireOnDevice {
 protected:
  void DownloadAll() {
    launcher_options_ = {};
    LogIn();
    books_ = RunJson({"download", "--all"});
    Run(0, {"books"});
    launcher_options_ = {"--no-scanner"};
  }

  const Json& FindBook(const std::string& extension) const {
    for (const Json& book : books_) {
      if (book["path"].get<std::string>().ends_with(extension)) return book;
    }
    throw std::runtime_error("no " + extension);
  }

  bool IsInLibrary(const std::string& path) {
    for (const Json& book : RunJson({"library"})) {
      if (book["path"] == path) return true;
    }
    return false;
  }

  Json books_;
};

TEST_F(BooksOnDevice, OpensABookInTheNamedViewer) {
  DownloadAll();
  const Json library = RunJson({"library"});
  const std::string viewer = files_ / "viewer";
  WriteProgram(viewer, "#!/bin/sh\nprintf 'shown %s\\n' \"$1\"\n[ -f \"$1\" ]\n");
  environment_ = {{"QUIRE_VIEWER", viewer}};
  launcher_options_ = {"--no-scanner", "--share", files_.path()};
  const Json& book = FindBook(".epub");
  const std::string ean = book["ean"];
  const std::string path = book["path"];
  const std::string hyphens = ean.substr(0, 3) + "-" + ean.substr(3, 1) + "-" + ean.substr(4);
  for (std::size_t i = 0; i < library.size(); ++i) {
    const std::string number = std::to_string(i + 1);
    const std::string shown = "shown " + library[i]["path"].get<std::string>() + "\n";
    EXPECT_EQ(Run(0, {"open", i % 2 == 0 ? number : "#" + number}).out, shown);
  }
  for (const Command& name : {Command{ean}, {hyphens}, {book["title"]}}) {
    EXPECT_EQ(Run(0, Command{"open"} + name).out, "shown " + path + "\n");
  }
  const std::tuple<int, std::string, std::string> wrong[] = {
      {5, "nosuchword", "No title has \"nosuchword\""},
      {5, "#99", "no title #99"},
      {5, "#0", "no title #0"},
      {5, "9780000000000", "No book on the device has the EAN 9780000000000"},
      {2, " ", "The name of a book is empty"},
      {5, "e", "More than one title has \"e\": “"}};
  for (const auto& [exit_code, name, reason] : wrong) {
    ExpectContains(Run(exit_code, {"open", name}).err, reason);
  }
  environment_ = {{"QUIRE_VIEWER", "no-such-viewer"}};
  const ProcessResult failed = Run(6, {"open", ean});
  ExpectContains(failed.err, "There is no viewer \"no-such-viewer\"");
  ExpectContains(failed.out, path);
}

TEST_F(BooksOnDevice, DeletesABookFromTheDeviceOnly) {
  DownloadAll();
  const std::string ean = FindBook(".epub")["ean"];
  const std::string path = FindBook(".epub")["path"];
  const std::string file = HostPath(path);
  WriteFile(file + ".part.info", "left over");
  const std::size_t request_count = shop_.Requests("").size();
  Run(2, {"delete", ean}, "y\n");
  for (const char* answer : {"\n", "n\n", "yes!\n"}) {
    Process quire = StartOnTerminal(80, {"delete", ean});
    ASSERT_TRUE(quire.WaitForOutput("[y/N] "));
    quire.Type(answer);
    ExpectContains(quire.Wait().out, "Nothing was deleted");
  }
  ASSERT_TRUE(Exists(file));
  ASSERT_TRUE(IsInLibrary(path));
  Process quire = StartOnTerminal(40, {"delete", ean});
  ASSERT_TRUE(quire.WaitForOutput("[y/N] "));
  quire.Type("y\n");
  EXPECT_EQ(quire.Wait().exit_code, 0);
  EXPECT_FALSE(Exists(file));
  EXPECT_FALSE(Exists(file + ".part.info"));
  EXPECT_FALSE(IsInLibrary(path));
  EXPECT_EQ(shop_.Requests("").size(), request_count) << "the shop was asked";

  EXPECT_EQ(RunJson({"status", ean})[0]["status"], "bought");
  EXPECT_EQ(RunJson({"download", ean})[0]["status"], "downloaded");
  EXPECT_TRUE(Exists(file));

  // A part that remained, and a file of another program.
  const std::string part = device_ + "/ext1/Downloads/Half a book.epub.part";
  WriteFile(part, "half");
  WriteFile(part + ".info", "version");
  ExpectContains(Run(1, {"open", "half a book"}).err, "not complete");
  const int fd = open(part.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(flock(fd, LOCK_EX), 0) << "as a download does";
  ExpectContains(Run(1, {"delete", "--yes", "half", "book"}).err, "is being downloaded");
  close(fd);
  EXPECT_TRUE(Exists(part));
  Run(0, {"delete", "--yes", "half", "book"});
  EXPECT_FALSE(Exists(part) || Exists(part + ".info"));
}

TEST_F(BooksOnDevice, AsksTheShopNothingWithoutNeed) {
  DownloadAll();
  const std::string bought = FindBook(".epub")["ean"];
  const auto eans = FindUnboughtEans();
  Run(0, {"cart", "add", eans[0], eans[1]});
  const std::size_t request_count = shop_.Requests("").size();
  const Command lines[] = {{"cart"},
                           {"library"},
                           {"status", bought, eans[0]},
                           {"--help"},
                           {"--version"},
                           {"cart", "--json"},
                           {"show", "-h"},
                           {"complete", ""},
                           {"cart", "remove", "#1"},
                           {"delete", "--yes", bought}};
  for (const Command& line : lines) {
    Run(0, line);
    EXPECT_EQ(shop_.Requests("").size(), request_count) << testing::PrintToString(line);
  }
  const Json cart = RunJson({"cart"});
  ASSERT_EQ(cart["items"].size(), 1U);
  EXPECT_EQ(cart["items"][0]["ean"], eans[1]);
  Process quire = StartOnTerminal(80, {"shell"});
  ASSERT_TRUE(quire.WaitForOutput("Welcome, anna@quire.example."));
  ASSERT_TRUE(quire.WaitForOutput("quire> "));
  EXPECT_EQ(shop_.Requests("").size(), request_count);
  quire.Type("exit\n");
  EXPECT_EQ(quire.Wait().exit_code, 0);
}

TEST_F(BooksOnDevice, ShowsATitleWhole) {
  DownloadAll();
  const Json titles = RunJson({"catalogue"})["titles"];
  const Json& sold = titles[0];
  const Json shown = RunJson({"show", sold["ean"]});
  for (const char* key : {"ean", "title", "author", "summary", "language", "formats",
                          "price_hundredths", "currency"}) {
    EXPECT_EQ(shown[key], sold[key]) << key;
  }
  EXPECT_TRUE(shown["cover_url"].get<std::string>().starts_with("https://")) << shown;
  const Json& book = FindBook(".epub");
  const Json own = RunJson({"show", book["title"]});
  EXPECT_EQ(own["ean"], book["ean"]);
  EXPECT_EQ(own["status"], "downloaded");
  EXPECT_EQ(own["path"], book["path"]);
  EXPECT_EQ(own["size_bytes"], fs::file_size(HostPath(book["path"])));
  app::SetUtf8Locale();
  for (const int columns : {40, 80, 120}) {
    const std::string screen = StartOnTerminal(columns, {"show", book["ean"]}).Wait().out;
    for (const char* label : {"Title", "Author", "Price", "Formats", "Summary", "on the device"}) {
      ExpectContains(screen, label);
    }
    std::istringstream lines(
        std::regex_replace(screen, std::regex("\x1b\\[[0-9;]*[mK]|.*\r(?!\n)"), ""));
    for (std::string line; std::getline(lines, line);) {
      line.erase(line.find_last_not_of('\r') + 1);
      const bool is_copied = line.find("/") != std::string::npos;  // a path or URL is not wrapped
      EXPECT_TRUE(is_copied || app::DisplayWidth(line) <= columns) << line;
    }
  }
  EXPECT_EQ(RunJson({"show", "1"})["ean"], sold["ean"]);
  ExpectContains(Run(5, {"show", "9780000000000"}).err, "Neither the catalogue nor your books");
  ExpectContains(Run(5, {"show", "nosuchword"}).err, "No title has \"nosuchword\"");
  ExpectContains(Run(5, {"show", "e"}).err, "More than one title has \"e\": “");
  Run(2, {"show", " "});
  shop_.Arm({{"path", "/opds/start"}, {"fault", "status"}, {"status", 500}});
  const ProcessResult partly = Run(0, {"show", book["ean"]});
  ExpectContains(partly.out, "on the device");
  ExpectContains(partly.err, "HTTP 500");
}

TEST_F(BooksOnDevice, DrawsTheCoverOrSaysWhyNot) {
  std::string ean;
  const Json titles = RunJson({"catalogue"})["titles"];
  for (const Json& title : titles) {
    if (ean.empty() && RunJson({"show", title["ean"]})["cover_url"].is_string()) ean = title["ean"];
  }
  const Command show{"show", ean, "--cover"};
  ExpectContains(Run(1, show).err, "not a terminal");
  ExpectContains(StartOnTerminal(80, show).Wait().out, "\x1b[38;2;");
  environment_ = {{"TERM", "xterm-kitty"}, {"KITTY_PID", "1"}};
  ExpectContains(StartOnTerminal(80, show).Wait().out, "\x1b_G");
  environment_ = {{"TERM", "dumb"}};
  ExpectContains(StartOnTerminal(80, show).Wait().out, "not a terminal that shows");
  environment_ = {};
  const std::pair<Json, const char*> faults[] = {
      {{{"fault", "status"}, {"status", 404}}, "HTTP 404"},
      {{{"fault", "body"}, {"body", "no picture"}}, "no picture"},
      {{{"fault", "body"}, {"body", ""}}, "cannot be fetched"}};
  int delivered = shop_.Delivered();
  for (auto [fault, reason] : faults) {
    fault["path"] = "/covers/*";
    shop_.Arm(fault);
    const ProcessResult finished = StartOnTerminal(80, show).Wait();
    EXPECT_NE(finished.exit_code, 0) << reason;
    ExpectContains(finished.out, reason);
    EXPECT_EQ(shop_.Delivered(), ++delivered) << reason;
  }
}

TEST_F(BooksOnDevice, CompletesTitlesAndKeepsTheHistory) {
  DownloadAll();
  const Json& book = FindBook(".epub");
  const std::string ean = book["ean"];
  const std::string title = book["title"];
  const auto complete = [&](const Command& words) {
    return Run(0, Command{"complete"} + words).out;
  };
  const std::string sold = FindUnboughtEans().front();  // lists the catalogue
  for (const char* command : {"show", "status", "download", "open", "delete"}) {
    ExpectContains(complete({command, ""}), ean + "\t" + title);
    EXPECT_EQ(complete({command, title.substr(0, title.size() - 1)}), ean + "\t" + title + "\n");
  }
  ExpectContains(complete({"cart", "add", "978"}), sold);
  ExpectLacks(complete({"cart", "add", "978"}), ean);
  ExpectLacks(complete({"download", ""}), sold);
  EXPECT_EQ(complete({"cart", "remove", ""}), "");
  Run(0, {"cart", "add", sold});
  ExpectContains(complete({"cart", "remove", ""}), sold + "\t");
  EXPECT_EQ(complete({"cart", "r"}), "remove\n");
  EXPECT_EQ(complete({"lib"}), "library\n");
  EXPECT_EQ(complete({"catalogue", "--sort", ""}), "title\nauthor\nprice\nnewest\n");
  EXPECT_EQ(complete({"catalogue", "--language", ""}), "");
  EXPECT_EQ(complete({"--log", ""}), "1\n2\n3\n4\n5\n");

  Process quire = StartOnTerminal(80, {"shell"});
  ASSERT_TRUE(quire.WaitForOutput("quire> "));
  quire.Type("stat\t" + ean.substr(0, ean.size() - 2) + "\t\n");
  ASSERT_TRUE(quire.WaitForOutput("on the device"));
  quire.Type("register new@quire.example --name A\n");
  ASSERT_TRUE(quire.WaitForOutput("--lastname is required"));
  quire.Type("login anna@quire.example secret\n");
  ASSERT_TRUE(quire.WaitForOutput("See \"quire login --help\""));
  quire.Type("exit\n");
  EXPECT_EQ(quire.Wait().exit_code, 0);
  const std::string history = device_ + "/ext1/system/config/quire_history";
  ExpectContains(ReadFile(history), "status\\040" + ean);  // as the line editor writes it
  for (const char* secret : {"login", "register", "secret"}) ExpectLacks(ReadFile(history), secret);
  for (const char* name : {"quire_history", "quire_titles.json"}) {
    EXPECT_EQ(fs::status(device_ + "/ext1/system/config/" + name).permissions(),
              fs::perms::owner_read | fs::perms::owner_write)
        << name;
  }
  Process again = StartOnTerminal(80, {"shell"});
  ASSERT_TRUE(again.WaitForOutput("quire> "));
  again.Type("\x10\x10\n");  // Ctrl-P: the line before "exit"
  EXPECT_TRUE(again.WaitForOutput("on the device"));
  again.Type("exit\n");
  again.Wait();
}

TEST_F(BooksOnDevice, ShowsHostileTitlesSafely) {
  const std::string hostile = "&#x202e;txt&#27;[2J&#x2066;" + std::string(300'000, 'x');
  std::string feed = "<feed xmlns='http://www.w3.org/2005/Atom'><entry><title>" + hostile +
                     "</title><id>urn:isbn:9780000000017</id><link "
                     "rel='http://opds-spec.org/acquisition' type='application/pdf' "
                     "href='/x'/></entry></feed>";
  const auto start = std::chrono::steady_clock::now();
  for (const Command& line : {Command{"catalogue"},
                              {"catalogue", "--json"},
                              {"show", "9780000000017"},
                              {"show", "9780000000017", "--json"},
                              {"complete", "show", ""}}) {
    shop_.Arm({{"path", "/opds/start"}, {"fault", "body"}, {"body", feed}});
    const std::string shown = Run(0, line).out;
    EXPECT_FALSE(shown.empty());
    for (const char* bad : {"\x1b", "\u202e", "\u2066"}) ExpectLacks(shown.substr(0, 2000), bad);
  }
  for (const int columns : {40, 80, 120}) {
    shop_.Arm({{"path", "/opds/start"}, {"fault", "body"}, {"body", feed}});
    const std::string shown = StartOnTerminal(columns, {"catalogue"}).Wait().out;
    EXPECT_LT(shown.size(), 2000U);
    ExpectLacks(shown, "\u202e");
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
}

}  // namespace
}  // namespace tests
