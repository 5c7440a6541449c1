#include "quire_on_device.h"

#include <algorithm>
#include <cstdlib>

namespace tests {

QuireOnDevice::QuireOnDevice(const Command& shop_options) : shop_(shop_options) {
  for (const char* name : {"COLUMNS", "NO_COLOR", "TABULET_LOG", "TABULET_LOG_LEVEL"}) {
    unsetenv(name);
  }
  setenv("TERM", "xterm-256color", 1);
  setenv("LC_ALL", "C", 1);
  shop_.Announce();
  shop_.Control("/_orders", {{"pending_checks", 0}});  // the library waits 5 s after each check
}

Command QuireOnDevice::OnDevice(const Command& arguments) const {
  return Command{QUIRE_DEVICE, "--device", device_, "--build", QUIRE_BUILD_DIR} +
         launcher_options_ + Command{"--", "quire"} + arguments;
}

ProcessResult QuireOnDevice::Run(int exit_code, const Command& arguments,
                                 const std::string& input) {
  const std::string input_file = files_ / "input";
  WriteFile(input_file, input);
  ProcessResult finished = RunProgram(
      Command{"sh", "-c", "exec \"$@\" <\"$0\"", input_file} + OnDevice(arguments), environment_);
  const std::string command = testing::PrintToString(arguments);
  EXPECT_EQ(finished.exit_code, exit_code) << command << "\n" << finished.out << finished.err;
  const std::size_t report = finished.err.find("quire: ");
  const bool has_one_report =
      report != std::string::npos && report == finished.err.rfind("quire: ");
  EXPECT_TRUE(exit_code == 0 || has_one_report) << command << "\n" << finished.err;
  return finished;
}

Json QuireOnDevice::RunJson(const Command& arguments) {
  const ProcessResult finished = Run(0, arguments + Command{"--json"});
  return Json::parse(finished.out, nullptr, false);
}

Process QuireOnDevice::StartOnTerminal(int columns, const Command& arguments) const {
  return Process(Command{"sh", "-c", "stty cols \"$0\"; exec \"$@\"", std::to_string(columns)} +
                     OnDevice(arguments),
                 environment_, Process::On::kTerminal);
}

std::vector<std::string> QuireOnDevice::FindUnboughtEans() {
  std::vector<std::string> bought;
  for (const Json& book : RunJson({"books"})) bought.push_back(book["ean"]);
  std::vector<std::string> eans;
  for (const Json& title : ListTitles()) {
    const bool is_bought = std::count(bought.begin(), bought.end(), title["ean"]) > 0;
    if (!is_bought && !title["needs_adobe"] && title["price_hundredths"] > 0) {
      eans.push_back(title["ean"]);
    }
  }
  return eans;
}

std::string QuireOnDevice::FindBoughtEpub() {
  for (const Json& book : RunJson({"books"})) {
    if (book["format"] == "epub") return book["ean"];
  }
  ADD_FAILURE() << "the user has bought no EPUB";
  return {};
}

std::string QuireOnDevice::HostPath(const std::string& device_path) const {
  const std::string storage = "/mnt/ext1";
  EXPECT_EQ(device_path.find(storage), 0U) << device_path;
  return device_ + "/ext1" + device_path.substr(std::min(storage.size(), device_path.size()));
}

void ExpectContains(const std::string& text, const std::string& part) {
  EXPECT_NE(text.find(part), std::string::npos) << "\"" << part << "\" is missing in:\n" << text;
}

void ExpectLacks(const std::string& text, const std::string& part) {
  EXPECT_EQ(text.find(part), std::string::npos) << "\"" << part << "\" is in:\n" << text;
}

}  // namespace tests
