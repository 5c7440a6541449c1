// crash_tests [--quick | --careless]: makes every file call of the library, the platform and the
// scanner fail, and ends them there as a kill and as a power cut would; then looks at each file,
// and does the same work again without a fault. Prints what was lost, torn or not reported; the
// exit code is 0 if nothing was. To be run on a scratch device, which it overwrites.
//   --quick     a few calls in every mode
//   --careless  a writer with every fault; the exit code is 0 if every kind of damage was found

#include <signal.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <iomanip>
#include <iostream>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "support/development_shop.h"
#include "support/files.h"
#include "support/process.h"
#include "tabulet.h"

namespace tests {
namespace {

namespace fs = std::filesystem;

const std::string kStorage = "/mnt/ext1";
const std::string kConfigDirectory = kStorage + "/system/config";
const std::string kConfigFile = kConfigDirectory + "/quire_config.cfg";
const std::string kDownloads = kStorage + "/Downloads";
const std::string kLibrary = kStorage + "/system/library.sqlite";
const std::string kReport = "/tmp/fault-report";
const std::string kSetUp = "/tmp/device-before";
/// Success, a failed scan, a kill.
const std::set<int> kExitCodes = {0, 1, 128 + SIGKILL};
/// The row for what belongs to no file: the exit code, temporary files, the work done again.
const std::string kWork = "the work";

const std::vector<std::string> kModes = {
    "eio",
    "full",
    "kill",
    "cut-dropped",
    "cut-short",
    "cut-zeroed",
    "cut-kept-undone",
    "cut-dropped-undone",
    "cut-short-undone",
    "cut-zeroed-undone",
};

/// What a file says, by file; "" for a missing or an empty one, kTorn for one that is neither.
using Contents = std::map<std::string, std::string>;
constexpr char kTorn[] = "torn";

struct Step {
  std::string name;
  Command command;
  std::vector<std::string> files;   ///< those that it writes
  std::set<std::string> between{};  ///< other contents that are right on the way
  bool on_new_device = false;
};

const Command kScan = {QUIRE_SCANNER, "--library", kLibrary, "--scan", kDownloads};
// The next scan reads it again.
const std::set<std::string> kUnreadBook = {"null \"Old\" ", "\"New\" null "};
const std::vector<Step> kSteps = {
    {"set-up",
     {QUIRE_FAULT_DRIVER, "set-up"},
     {"cart", "cache", "configuration"},
     {"items: 9780000000017"},
     true},
    {"shop",
     {QUIRE_FAULT_DRIVER, "shop"},
     {"cart", "cache", "configuration"},
     {"items: 9780000000017 9780000001351 9780000001917"}},
    {"account", {QUIRE_FAULT_DRIVER, "account"}, {"cart", "configuration"}},
    {"download", {QUIRE_FAULT_DRIVER, "download"}, {"books"}},
    {"scan", kScan, {"library"}, kUnreadBook},
    {"first scan", kScan, {"library"}, kUnreadBook, true},
};

std::string DescribeJson(const std::string& path,
                         const std::function<std::string(Json)>& describe) {
  const std::string text = ReadFile(path);
  if (text.empty()) return "";
  try {
    return describe(Json::parse(text));
  } catch (const Json::exception&) {
    return kTorn;
  }
}

std::string DescribeCart(const std::string& path) {
  return DescribeJson(path, [](const Json& cart) {
    std::string eans = "items:";
    for (const Json& item : cart.at("orderItems")) {
      eans += " " + item.at("orderItemEAN").get<std::string>();
    }
    return eans;
  });
}

std::string DescribeConfig(const std::string& path) {
  if (ReadFile(path).empty()) return "";
  iconfig_s* const config = OpenConfig(path.c_str(), nullptr);
  const std::string user = ReadString(config, "user_name", "");
  const std::string password = ReadSecret(config, "password", "");
  const std::string session = ReadString(config, "session_id", "");
  CloseConfigNoSave(config);
  return password.empty() || session.empty() ? "" : user + " " + password;
}

std::string DescribeBooks() {
  std::string books;
  if (!fs::exists(kDownloads)) return books;
  std::map<std::string, std::size_t> sorted;
  for (const auto& entry : fs::directory_iterator(kDownloads)) {
    const std::string name = entry.path().filename();
    if (name.find(".part") == std::string::npos) {
      sorted[name] = std::hash<std::string>()(ReadFile(entry.path()));
    }
  }
  for (const auto& [name, hash] : sorted) books += name + " " + std::to_string(hash) + "\n";
  return books;
}

std::string DescribeLibrary() {
  if (!Exists(kLibrary)) return "";
  const ProcessResult list = RunProgram({QUIRE_SCANNER, "--library", kLibrary, "--list"});
  if (list.exit_code != 0) return kTorn;
  std::string titles;
  for (const Json& book : Json::parse(list.out)) titles += book["title"].dump() + " ";
  return titles;
}

/// The files of the device, with the content of one that was moved aside under its name and ".bad".
Contents Describe(const Step& step) {
  Contents contents;
  for (const std::string end : {".bad", ""}) {
    contents["cart" + end] = DescribeCart(kConfigDirectory + "/quire_cart" + end);
    contents["cache" + end] = DescribeJson(kConfigDirectory + "/switchboard.json" + end,
                                           [](const Json& cache) { return cache.dump(); });
    contents["configuration" + end] = DescribeConfig(kConfigFile + end);
  }
  contents["books"] = DescribeBooks();
  if (step.files[0] == "library") contents["library"] = DescribeLibrary();
  return contents;
}

/// Files that only a writer at work has.
std::string FindLeftovers() {
  std::string found;
  for (const auto& entry : fs::recursive_directory_iterator(kStorage)) {
    const std::string name = entry.path().filename();
    for (const std::string end : {".new", ".part", ".part.info", "-journal"}) {
      if (name.ends_with(end)) found += " " + name;
    }
  }
  return found;
}

void CopyDevice(const std::string& from, const std::string& to) {
  fs::create_directories(to);
  for (const auto& entry : fs::directory_iterator(to)) fs::remove_all(entry.path());
  fs::copy(from, to, fs::copy_options::recursive);
}

const std::vector<std::string> kDamages = {"lost", "torn", "unreported"};

struct Count {
  int cuts = 0;
  std::map<std::string, int> damages;
};

class CrashTest {
 public:
  CrashTest() { shop_.Announce(); }

  /// \param quick  whether to try a few calls; else all, until the fault no longer fires.
  void Run(const Step& step, bool quick) {
    SetUp(step.on_new_device);
    before_ = Describe(step);
    const ProcessResult good = RunProgram(step.command);
    after_ = Describe(step);
    if (!good.err.empty()) throw std::runtime_error(step.name + " fails: " + good.err);
    if (before_ == after_) throw std::runtime_error(step.name + " changes nothing");
    int first = 1;
    for (const std::string& mode : kModes) {
      if (quick) first += 3;
      for (int number = first; Try(step, mode, number);) number = quick ? number * 4 : number + 1;
    }
  }

  /// How often a damage was found.
  int Total(const std::string& damage) { return total_[damage]; }

  void Print() {
    const auto print_row = [](const std::vector<std::string>& cells) {
      for (const std::string& cell : cells) std::cout << std::left << std::setw(16) << cell;
      std::cout << '\n';
    };
    print_row({"file", "mode", "cuts", "lost", "torn", "unreported"});
    for (auto& [key, count] : counts_) {
      std::vector<std::string> cells = {key.first, key.second, std::to_string(count.cuts)};
      for (const auto& damage : kDamages) cells.push_back(std::to_string(count.damages[damage]));
      print_row(cells);
    }
  }

 private:
  /// A device in use: a customer, a cart, an older cache, a book that the scanner has recorded and
  /// one that it has not. A new device has the books only.
  void SetUp(bool is_new) {
    fs::remove_all(kSetUp);
    fs::create_directories(kSetUp);
    CopyDevice(kSetUp, kStorage);
    fs::create_directories(kConfigDirectory);
    fs::create_directories(kDownloads);
    WriteBook("Old");
    if (!is_new) {
      RunProgram({QUIRE_FAULT_DRIVER, "set-up"});
      const std::string cache = kConfigDirectory + "/switchboard.json";
      Json old = Json::parse(ReadFile(cache));
      old["old"] = true;
      WriteFile(cache, old.dump());
      RunProgram(kScan);
    }
    WriteBook("New");
    CopyDevice(kStorage, kSetUp);
  }

  static void WriteBook(const std::string& title) {
    WriteEpub(kDownloads + "/" + title + ".epub",
              "<package xmlns:dc='http://purl.org/dc/elements/1.1/'><metadata><dc:title>" + title +
                  "</dc:title></metadata></package>");
  }

  /// Runs a step with a fault on a device as it was set up.
  ProcessResult Inject(const Step& step, const std::string& mode, int number) {
    CopyDevice(kSetUp, kStorage);
    fs::remove(kReport);
    return RunProgram(step.command, {{"LD_PRELOAD", QUIRE_FAULT_PRELOAD},
                                     {"QUIRE_FAULT", mode + " " + std::to_string(number)},
                                     {"QUIRE_FAULT_DIRECTORY", kStorage},
                                     {"QUIRE_FAULT_REPORT", kReport}});
  }

  /// \return whether the fault fired.
  bool Try(const Step& step, const std::string& mode, int number) {
    const ProcessResult result = Inject(step, mode, number);
    if (!Exists(kReport)) return false;
    const bool silent = result.exit_code == 0 && result.err.empty();
    fault_ = step.name + ", " + mode + " " + std::to_string(number) + ", " + ReadFile(kReport);
    mode_ = mode.substr(0, mode.find('-'));
    Contents found = Describe(step);
    for (const std::string& file : step.files) {
      const std::string& content = found[file];
      ++counts_[{file, mode_}].cuts;
      const std::string& aside = found[file + ".bad"];
      if (!IsRight(step, file, content) && (aside.empty() || !IsRight(step, file, aside))) {
        Report(content.empty() ? "lost" : "torn", file, content);
      }
      if (silent && content != after_[file]) Report("unreported", file, content);
    }
    if (!kExitCodes.contains(result.exit_code)) {
      Report("lost", kWork, "exit code " + std::to_string(result.exit_code));
    }
    if (step.name != "careless") Repeat(step, found);
    return true;
  }

  /// The same work without a fault, after which all must be as it was meant to be.
  /// \param found  before it. A file that was moved aside misses the content from before.
  void Repeat(const Step& step, Contents& found) {
    fault_ += ", then again";
    ++counts_[{kWork, mode_}].cuts;
    if (DescribeConfig(kConfigFile).empty()) RunProgram({QUIRE_FAULT_DRIVER, "log-in"});
    const ProcessResult result = RunProgram(step.command);
    if (!result.err.empty()) Report("lost", kWork, result.err);
    Contents now = Describe(step);
    for (const std::string& file : step.files) {
      const bool aside = !found[file + ".bad"].empty();
      if (!aside && now[file] != after_[file]) Report("lost", file, now[file]);
    }
    const std::string leftovers = FindLeftovers();
    if (!leftovers.empty()) Report("lost", kWork, "left" + leftovers);
  }

  bool IsRight(const Step& step, const std::string& file, const std::string& content) {
    return content == before_[file] || content == after_[file] || step.between.contains(content);
  }

  void Report(const std::string& damage, const std::string& file, const std::string& content) {
    ++counts_[{file, mode_}].damages[damage];
    ++total_[damage];
    std::cout << fault_ << ": " << file << ' ' << damage << ": " << content << '\n';
  }

  DevelopmentShop shop_;
  Contents before_, after_;
  std::string fault_, mode_;
  std::map<std::pair<std::string, std::string>, Count> counts_;  ///< by file and mode
  std::map<std::string, int> total_;
};

int Run(const std::string& option) {
  setenv("TABULET_LOG", "/tmp/device.log", 1);
  std::cout << std::unitbuf;
  CrashTest test;
  if (option == "--careless") {
    test.Run({"careless", {QUIRE_FAULT_DRIVER, "careless"}, {"cart", "cache"}}, false);
  } else {
    for (const Step& step : kSteps) test.Run(step, option == "--quick");
  }
  test.Print();
  const auto found = [&](const std::string& damage) { return test.Total(damage) > 0; };
  return option == "--careless" ? !std::all_of(kDamages.begin(), kDamages.end(), found)
                                : std::any_of(kDamages.begin(), kDamages.end(), found);
}

}  // namespace
}  // namespace tests

int main(int argc, char** argv) try {
  return tests::Run(argc > 1 ? argv[1] : "");
} catch (const std::exception& error) {
  std::cerr << "crash_tests: " << error.what() << '\n';
  return 2;
}
