#include <signal.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <set>
#include <sstream>

#include "quire_on_device.h"
#include "text.h"

namespace fs = std::filesystem;

namespace tests {
namespace {

TEST_F(QuireOnDevice, LogsInRegistersAndShowsTheAccount) {
  Run(3, {"account"});
  Run(2, {"login", "anna@quire.example"});
  Run(2, {"login"});
  Run(2, {"login", "anna@quire.example", "--password", "secret"});
  ExpectContains(Run(0, {"login", "anna@quire.example"}, "secret\n").out, "Logged in to");
  EXPECT_EQ(RunJson({"account"})["email"], "anna@quire.example");
  ExpectContains(Run(0, {"account"}).out, "Möller");
  EXPECT_TRUE(RunJson({"shop"})["store_id"].is_string());

  const Command register_command{"register", "new@quire.example", "--name",
                                 "Ada",      "--lastname",        "Lovelace"};
  const ProcessResult registered =
      Run(0, register_command + Command{"--title", "Dr."}, "geheimnis\n");
  ExpectContains(registered.out, "Logged in as new@quire.example");
  EXPECT_EQ(RunJson({"books"}), Json::array());
  ExpectContains(Run(0, {"books"}).out, "You have bought no books yet");
  Run(1, register_command, "geheimnis\n");
  Run(0, {"logout"});
  for (const auto& entry : fs::recursive_directory_iterator(device_)) {
    if (!entry.is_regular_file()) continue;
    const std::string content = ReadFile(entry.path());
    ExpectLacks(content, "geheimnis");
    ExpectLacks(content, "secret");
  }
}

TEST_F(QuireOnDevice, AsksForThePasswordWithoutShowingIt) {
  Process quire = StartOnTerminal(80, {"login", "anna@quire.example"});
  ASSERT_TRUE(quire.WaitForOutput("Password for anna@quire.example"));
  quire.Type("secret\n");
  const ProcessResult finished = quire.Wait();
  ExpectContains(finished.out, "Logged in");
  ExpectLacks(finished.out, "secret");
}

TEST_F(QuireOnDevice, ListsAndSearchesTheCatalogue) {
  const Json titles = ListTitles();
  EXPECT_GT(titles.size(), 11U);
  std::set<std::string> formats;
  bool needs_adobe = false;
  for (const Json& title : titles) {
    EXPECT_TRUE(title["ean"].is_string() && title["title"].is_string() &&
                title["price_hundredths"].is_number())
        << title;
    formats.insert(title["formats"].begin(), title["formats"].end());
    needs_adobe = needs_adobe || title["needs_adobe"];
  }
  EXPECT_EQ(formats, (std::set<std::string>{"EPUB", "PDF", "TXT"}));
  EXPECT_TRUE(needs_adobe);
  EXPECT_EQ(ListTitles({titles[0]["ean"]}).size(), 1U);
  ExpectContains(Run(5, {"catalogue", "nosuchword"}).err, "nosuchword");
}

/// Expects the lines that stay on a terminal to fit, without escape sequences.
void ExpectFits(const std::string& shown, int columns) {
  app::SetUtf8Locale();
  std::istringstream lines(std::regex_replace(shown, std::regex("\x1b\\[[0-9;]*[mK]"), ""));
  for (std::string line; std::getline(lines, line);) {
    line.erase(line.find_last_not_of('\r') + 1);
    line.erase(0, line.rfind('\r') + 1);  // npos + 1 is 0
    EXPECT_LE(app::DisplayWidth(line), columns) << line;
  }
}

TEST_F(QuireOnDevice, FitsTablesAndStylesToTheTerminal) {
  const Json titles = ListTitles();
  const std::string ean = titles[0]["ean"];
  const std::string piped = Run(0, {"catalogue"}).out;
  for (const Json& title : titles) {
    ExpectContains(piped, title["title"].get<std::string>() + "  ");  // not cut outside a terminal
  }
  LogIn();
  Run(0, {"cart", "add", FindUnboughtEans().at(0)});
  for (const int columns : {120, 80, 40}) {
    const std::string shown = StartOnTerminal(columns, {"catalogue"}).Wait().out;
    ExpectFits(shown, columns);
    ExpectContains(shown, ean);
    for (const char* command : {"books", "cart", "checkout", "orders", "bogus"}) {
      ExpectFits(StartOnTerminal(columns, {command}).Wait().out, columns);
    }
  }
  ExpectContains(StartOnTerminal(80, {"catalogue", ean}).Wait().out, "\x1b[1m");
  environment_ = {{"NO_COLOR", "1"}};
  ExpectLacks(StartOnTerminal(80, {"catalogue", ean}).Wait().out, "\x1b");
}

/// The requests for pages of the catalogue with a number above `after`.
std::vector<Json> FeedRequests(const DevelopmentShop& shop, int after = 0) {
  std::vector<Json> feeds;
  for (const Json& request : shop.Requests("")) {
    const bool is_feed = request["path"].get<std::string>().find("/opds/") != std::string::npos;
    if (is_feed && request["number"] > after) feeds.push_back(request);
  }
  return feeds;
}

TEST_F(QuireOnDevice, ReadsAShopWithoutSearchOnce) {
  shop_.Arm({{"path", "/opds/search.xml"}, {"fault", "status"}, {"status", 404}, {"times", 4}});
  const Json titles = ListTitles({"müssigbrodt", "KUCHE"});
  ASSERT_EQ(titles.size(), 1U);
  const auto first = FeedRequests(shop_);
  EXPECT_GT(first.size(), 2U) << "page by page";
  ExpectContains(Run(0, {"cart", "add", "müssigbrodt küche"}).out, "Großmutters Küche");
  for (const Json& request : FeedRequests(shop_, first.back()["number"])) {
    const bool is_search = request["path"].get<std::string>().ends_with("/search.xml");
    EXPECT_EQ(request["status"], is_search ? 404 : 304) << request;
  }
  Run(0, {"cart", "remove", "#1"});
  Run(0, {"cart", "add", "1"});
  EXPECT_EQ(RunJson({"cart"})["items"][0]["ean"], titles[0]["ean"]) << "the last list's number";
}

/// The application in a large shop that begins with sections.
class QuireInLargeShop : public QuireOnDevice {
 protected:
  QuireInLargeShop() : QuireOnDevice({"--titles", "3000", "--navigation"}) {}
};

TEST_F(QuireInLargeShop, EntersSectionsAndTurnsPages) {
  for (const int columns : {40, 80, 120}) {
    const std::string sections = StartOnTerminal(columns, {"catalogue"}).Wait().out;
    ExpectFits(sections, columns);
    ExpectContains(sections, "By language");
    const std::string titles =
        StartOnTerminal(columns, {"catalogue", "kuche", "--page", "2"}).Wait().out;
    ExpectFits(titles, columns);
    ExpectContains(titles, "--page 3");
  }
  const Json page = RunJson({"catalogue", "--in", "by lang", "--in", "German", "--page", "2"});
  EXPECT_EQ(page["page"], 2);
  EXPECT_EQ(page["next_page"], 3);
  EXPECT_GT(page["total"], 40);
  ASSERT_EQ(page["titles"].size(), 20U);
  EXPECT_EQ(page["titles"][0]["number"], 21);
  for (const Json& title : page["titles"]) {
    EXPECT_EQ(title["language"], "de");
    EXPECT_TRUE(title["page_url"].is_string());
  }
  Run(0, {"cart", "add", "#22"});
  EXPECT_EQ(RunJson({"cart"})["items"][0]["ean"], page["titles"][1]["ean"]);
  EXPECT_LT(ListTitles({"--format", "pdf", "--sort", "price"}).size(), 21U);
  ExpectContains(Run(5, {"catalogue", "--in", "nowhere"}).err, "no section \"nowhere\"");
  ExpectContains(Run(5, {"catalogue", "kuche", "--page", "99"}).err, "no page 99");
  ExpectContains(Run(5, {"cart", "add", "kuche"}).err, "More than one title");
  Run(2, {"catalogue", "--sort", "colour"});
  Run(2, {"catalogue", "--page", "0"});
}

TEST_F(QuireInLargeShop, AddsATitleWithoutReadingAll) {
  const std::string ean = ListTitles({"--in", "1", "--page", "100"}).back()["ean"];
  const int before = FeedRequests(shop_).back()["number"];
  Run(0, {"cart", "add", ean});
  EXPECT_LT(FeedRequests(shop_, before).size(), 5U);
}

TEST_F(QuireOnDevice, SurvivesABrokenCatalogue) {
  const auto answer = [&](const std::string& body) {
    shop_.Arm({{"path", "/opds/start"}, {"fault", "body"}, {"body", body}});
  };
  const std::string feed = "<feed xmlns='http://www.w3.org/2005/Atom'>";
  answer(
      feed +
      "<entry><title>&#27;[2Jbad&#155;</title><link "
      "rel='http://opds-spec.org/acquisition' type='application/pdf' href='/x'/></entry></feed>");
  const std::string shown = Run(0, {"catalogue"}).out;
  ExpectContains(shown, "[2Jbad");
  ExpectLacks(shown, "\x1b");
  ExpectLacks(shown, "\xc2\x9b");
  answer(feed);
  ExpectContains(Run(1, {"catalogue"}).err, "not XML");
  shop_.Arm({{"path", "/opds/start"}, {"fault", "status"}, {"status", 500}});
  ExpectContains(Run(1, {"catalogue"}).err, "HTTP 500");
}

TEST_F(QuireOnDevice, KeepsTheCartOnTheDevice) {
  LogIn();
  const auto eans = FindUnboughtEans();
  ASSERT_GE(eans.size(), 2U);
  Run(5, {"checkout"});
  ExpectContains(Run(5, {"cart", "add", eans[0], "1234567890123"}).err, "1234567890123");
  ExpectContains(Run(0, {"cart", "add", eans[0], eans[1]}).out,
                 eans[0] + " is in the cart already");
  Run(5, {"cart", "remove", "#3"});
  Run(0, {"cart", "remove", "#1"});
  const Json cart = RunJson({"cart"});
  ASSERT_EQ(cart["items"].size(), 1U);
  EXPECT_EQ(cart["items"][0]["ean"], eans[1]);
  Run(0, {"cart", "remove", eans[1]});
  Run(0, {"cart", "add", eans[1]});
  EXPECT_EQ(RunJson({"status", eans[1]})[0]["status"], "in_cart");
  EXPECT_EQ(RunJson({"status", eans[0]})[0]["status"], "not_bought");
  ExpectContains(Run(5, {"status", "123"}).err, "No title has \"123\"");
  ExpectContains(Run(5, {"status", "9780000000018"}).err, "There is no book 9780000000018");
  ExpectContains(Run(0, {"cart"}).out, "Total: ");
}

TEST_F(QuireOnDevice, PaysForTheCart) {
  LogIn();
  const auto eans = FindUnboughtEans();
  ASSERT_GE(eans.size(), 2U);
  Run(0, {"cart", "add", eans[0]});
  const Json priced = RunJson({"checkout"});
  EXPECT_EQ(priced["items"].size(), 1U);
  EXPECT_EQ(priced["dropped"], Json::array());
  EXPECT_TRUE(priced["order_id"].is_string());
  environment_ = {{"QUIRE_BROWSER_ANSWER", "approve"}};
  ExpectContains(Run(0, {"pay", "card"}).out, "Paid.");
  EXPECT_EQ(RunJson({"cart"})["items"], Json::array());
  EXPECT_EQ(RunJson({"status", eans[0]})[0]["status"], "bought");
  Run(1, {"cart", "add", eans[0]});
}

TEST_F(QuireOnDevice, FindsBooksUnderOtherNamesAfterARestart) {
  Run(0, {"login", "ben@quire.example"}, "secret\n");
  const Json books = Json::parse(ReadFile(QUIRE_BUILD_DIR "/share/quire/books/catalogue.json"));
  std::string long_ean;  // its file name comes close to the longest that a file system takes
  for (const Json& book : books["books"]) {
    if (book["file"].get<std::string>().starts_with("wohlerfahrener")) long_ean = book["ean"];
  }
  Run(0, {"cart", "add", long_ean});
  Run(0, {"checkout"});
  environment_ = {{"QUIRE_BROWSER_ANSWER", "approve"}};
  Run(0, {"pay", "card"});
  ExpectContains(Run(0, {"download", long_ean}).out, "Downloaded “");
  EXPECT_EQ(RunJson({"status", long_ean})[0]["status"], "downloaded");

  LogIn();
  const std::string ean = FindBoughtEpub();
  shop_.Arm({{"path", "/files/*"},
             {"fault", "body"},
             {"body", "plain"},
             {"headers", {{"Content-Type", "text/plain"}}}});
  Run(0, {"download", ean});
  const Json status = RunJson({"status", ean})[0];
  EXPECT_EQ(status["status"], "downloaded");
  const std::string path = status.value("path", "");
  EXPECT_TRUE(path.ends_with(".txt")) << path;
  EXPECT_EQ(RunJson({"download", ean})[0]["status"], "present");
  fs::remove(HostPath(path));
  EXPECT_EQ(RunJson({"status", ean})[0]["status"], "bought");
}

TEST_F(QuireOnDevice, ContinuesADownloadAfterCtrlC) {
  LogIn();
  const std::string ean = FindBoughtEpub();
  shop_.Control("/_books", {{"ean", ean}, {"size_bytes", 1'000'000}, {"revision", 1}});
  ExpectContains(Run(0, {"download", ean}).out, "Downloaded “");
  const Json present = RunJson({"download", ean})[0];
  EXPECT_EQ(present["status"], "present");
  const std::string path = HostPath(present.value("path", ""));
  const std::string book = ReadFile(path);
  ASSERT_FALSE(book.empty());

  fs::remove(path);
  shop_.Arm({{"path", "/files/*"}, {"fault", "slow"}, {"after_bytes", 500'000}, {"delay_ms", 200}});
  Process quire = StartOnTerminal(80, {"download", ean});
  ASSERT_TRUE(quire.WaitForOutput("50 %"));
  quire.Type("\x03");
  ExpectContains(quire.Wait().out, "is kept");
  EXPECT_FALSE(Exists(path));
  EXPECT_FALSE(ReadFile(path + ".part").empty());
  const std::string saved_books = device_ + "/ext1/system/config/quire_saved_books.json";
  fs::remove(saved_books);
  fs::create_directory(saved_books);
  ExpectContains(Run(0, {"download", ean}).err, "could not be stored");
  EXPECT_TRUE(ReadFile(path) == book) << "the continued download differs";
}

TEST_F(QuireOnDevice, TakesUpTheBooksThatAreLeft) {
  LogIn();
  const Json books = RunJson({"books"});
  ASSERT_GE(books.size(), 3U);
  const auto name = [&](std::size_t i) { return books[i]["ean"].get<std::string>(); };
  for (std::size_t i = 0; i < 2; ++i) {
    shop_.Control("/_books", {{"ean", name(i)}, {"size_bytes", 1'000'000}, {"revision", 1}});
  }
  Json slow = {
      {"path", "/files/*"}, {"fault", "slow"}, {"after_bytes", 500'000}, {"delay_ms", 200}};
  for (const char* no_color : {"", "1"}) {
    SCOPED_TRACE(no_color);
    shop_.Arm(slow);
    slow["after_bytes"] = 1'000;  // the next download continues a part
    environment_ = {{"NO_COLOR", no_color}};
    Process quire = StartOnTerminal(300, {"download", "1", name(1)});
    ASSERT_TRUE(quire.WaitForOutput("1 of 2 "));
    ASSERT_TRUE(quire.WaitForOutput(" %"));
    quire.Type("\003");
    ExpectContains(quire.Wait().out, "1 more book is left");
  }
  shop_.Arm(slow);
  Process shell = StartOnTerminal(300, {"shell"});
  ASSERT_TRUE(shell.WaitForOutput("quire> "));
  shell.Type("download --all\n");
  ASSERT_TRUE(shell.WaitForOutput(" %"));
  shell.Type("\003");
  ASSERT_TRUE(shell.WaitForOutput(std::to_string(books.size() - 1) + " more books are left"));
  shell.Kill(SIGKILL);
  environment_ = {};
  EXPECT_EQ(RunJson({"status", "#2"})[0]["ean"], name(1)) << "a number of the last list";
  const Json downloaded = RunJson({"download"});
  EXPECT_EQ(downloaded.size(), books.size());
  Run(2, {"download"});
}

TEST_F(QuireOnDevice, DownloadsAllAndListsTheLibrary) {
  launcher_options_ = {};
  LogIn();
  Run(5, {"download", "1234567890123"});
  ExpectContains(StartOnTerminal(80, {"download", "--all"}).Wait().out, "%");
  for (const Json& book : RunJson({"download", "--all"})) EXPECT_EQ(book["status"], "present");
  std::string path;
  for (const Json& book : RunJson({"books"})) {
    EXPECT_EQ(book["status"], "downloaded") << book;
    if (book["format"] == "epub") path = book["path"];
  }
  const Json library = RunJson({"library"});
  EXPECT_EQ(std::count_if(library.begin(), library.end(),
                          [&](const Json& book) { return book["path"] == path; }),
            1)
      << path << library;

  WriteFile(device_ + "/ext1/system/library.sqlite", "rubbish");
  Run(6, {"library"});
  fs::remove(device_ + "/ext1/system/library.sqlite");
  Run(0, {"library"});
}

TEST_F(QuireOnDevice, RunsTheCommandsOfAScript) {
  const std::string script =
      "# a comment, and an empty line\n\nquire shop\nlogin anna@quire.example\nsecret\nhelp\n"
      "catalogue 'no \"such\" words'\naccount\n";
  const ProcessResult stopped = Run(5, {"shell"}, script);
  ExpectContains(stopped.err, "no \"such\" words");
  ExpectContains(stopped.out, "Logged in");
  ExpectContains(stopped.out, "Usage");
  ExpectLacks(stopped.out, "Möller");
  const ProcessResult continued = Run(5, {"shell", "--keep-going", "--echo"}, script);
  ExpectContains(continued.out, "Möller");
  ExpectContains(continued.out, "quire> account");
  Run(0, {"shell"}, "books\nexit\nnonsense\n");
  Run(2, {"shell"}, "shell\n");
}

TEST_F(QuireOnDevice, TakesCommandsAtAPrompt) {
  LogIn();
  const std::string ean = FindBoughtEpub();
  shop_.Control("/_books", {{"ean", ean}, {"size_bytes", 1'000'000}, {"revision", 1}});
  const std::string last_ean = RunJson({"books"}).back()["ean"];
  Process quire = StartOnTerminal(80, {"shell"});
  ASSERT_TRUE(quire.WaitForOutput("quire> "));
  quire.Type("books\n");
  ASSERT_TRUE(quire.WaitForOutput(last_ean + "\r\nquire> "));
  quire.Type("half a line\003nonsense\n");
  ASSERT_TRUE(quire.WaitForOutput("There is no command \"nonsense\""));
  ExpectContains(quire.out(), "Welcome");

  shop_.Arm({{"path", "/files/*"}, {"fault", "slow"}, {"after_bytes", 500'000}, {"delay_ms", 200}});
  quire.Type("download " + ean + "\n");
  ASSERT_TRUE(quire.WaitForOutput("50 %"));
  quire.Type("\003");
  ASSERT_TRUE(quire.WaitForOutput("goes on downloading"));
  quire.Type("status " + ean + "\n");
  ASSERT_TRUE(quire.WaitForOutput("downloading 50 %"));
  quire.Type("--version\n");
  ASSERT_TRUE(quire.WaitForOutput("quire " QUIRE_VERSION));
  quire.Type("exit\n");
  ASSERT_TRUE(quire.WaitForOutput("Waiting"));
  quire.Type("\003");
  ExpectContains(quire.Wait().out, "is kept");
}

TEST_F(QuireOnDevice, ExplainsTheCommandLine) {
  ExpectContains(Run(2, {}).out, "Subcommands:");
  ExpectContains(Run(0, {"--help"}).out, "Exit codes");
  EXPECT_EQ(Run(0, {"--version"}).out, "quire " QUIRE_VERSION "\n");
  ExpectContains(Run(0, {"help"}).out, "Exit codes");
  ExpectContains(Run(0, {"help", "cart", "add"}).out, "Usage: quire cart add");
  const std::pair<Command, const char*> wrong_lines[] = {
      {{"nonsense"}, "no command \"nonsense\". See \"quire --help\""},
      {{"catalog"}, "Did you mean \"quire catalogue\"?"},
      {{"search"}, "Did you mean \"quire catalogue\"?"},
      {{"--bogus"}, "There is no option \"--bogus\""},
      {{"cart", "add", ""}, "The name of a book is empty"},
      {{"download", ""}, "The name of a book is empty"},
      {{"status", ""}, "The name of a book is empty"},
      {{"cart", "remove"}, "See \"quire cart remove --help\""},
      {{"download"}, "No book was named"},
      {{"pay"}, "\"quire pay paypal\" or \"quire pay card\""},
      {{"cart", "--frob"}, "--frob"},
      {{"--log", "9", "shop"}, "See \"quire --help\""}};
  for (const auto& [line, reason] : wrong_lines) ExpectContains(Run(2, line).err, reason);
  environment_ = {{"COLUMNS", "40"}};
  const std::string help = Run(0, {"register", "--help"}).out;
  ExpectFits(help, 40);
  ExpectContains(help, "Usage: quire register");
}

TEST_F(QuireOnDevice, ReportsAFullDisk) {
  const ProcessResult finished =
      RunProgram({"sh", "-c", "exec \"$@\" >/dev/full", "sh", QUIRE_DEVICE, "--device", device_,
                  "--build", QUIRE_BUILD_DIR, "--no-scanner", "--", "quire", "catalogue"});
  EXPECT_EQ(finished.exit_code, 6);
  ExpectContains(finished.err, "could not be written");
}

}  // namespace
}  // namespace tests
