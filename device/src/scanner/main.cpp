// The library scanner of the device. As a task it scans directories on request;
// `scanner.app --scan DIR` scans one and exits; `--list` prints the library.

#include <signal.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "../text.h"
#include "../util.h"
#include "scan.h"
#include "tabulet.h"
#include "tabulet_task.h"

namespace {

constexpr char kAppPath[] = "/ebrmain/bin/scanner.app";
constexpr char kStorage[] = "/mnt/ext1";
constexpr char kLibraryFile[] = "/mnt/ext1/system/library.sqlite";
constexpr int kScanRequest = 84;
constexpr std::string_view kScanPrefix = "-scan:";

constexpr char kUsage[] =
    "usage: scanner.app [--library FILE] [--scan DIR | --list] | --version | --help\n"
    "Without --scan and --list, serves requests as the task /ebrmain/bin/scanner.app until "
    "SIGTERM.\n"
    "  --library FILE  the library, /mnt/ext1/system/library.sqlite by default\n"
    "  --scan DIR      scan one directory and exit\n"
    "  --list          print the recorded books as a JSON array and exit\n";

struct Options {
  std::string library = kLibraryFile;
  std::string directory;
  bool list = false;
};

bool ParseOptions(int argc, char** argv, Options* options) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view name = argv[i];
    if (name == "--list") {
      options->list = true;
      continue;
    }
    const std::string_view value = ++i < argc ? argv[i] : "";
    if (value.empty()) return false;
    if (name == "--library") {
      options->library = value;
    } else if (name == "--scan") {
      options->directory = value;
    } else {
      return false;
    }
  }
  return true;
}

int Scan(const std::string& directory, const std::string& library) try {
  const scanner::ScanResult result = scanner::Scan(directory, library);
  std::cout << "scanned " << MakePrintable(directory) << ": " << result.books << " books, "
            << result.new_books << " new, " << result.deleted_books << " gone" << std::endl;
  return 0;
} catch (const std::exception& error) {
  std::cerr << "scanner: " << MakePrintable(error.what()) << std::endl;
  return 1;
}

nlohmann::ordered_json StringOrNull(const std::string& text) {
  return text.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(text);
}

int List(const std::string& library) try {
  auto books = nlohmann::ordered_json::array();
  for (const scanner::LibraryBook& book : scanner::ReadLibrary(library)) {
    books.push_back({{"path", book.path},
                     {"title", StringOrNull(book.title)},
                     {"author", StringOrNull(book.author)},
                     {"format", book.format},
                     {"size_bytes", book.size_bytes},
                     {"modified_s", book.modified_s}});
  }
  std::cout << books.dump(2, ' ', true, nlohmann::ordered_json::error_handler_t::replace)
            << std::endl;
  return std::cout ? 0 : 1;
} catch (const std::exception& error) {
  std::cerr << "scanner: " << MakePrintable(error.what()) << std::endl;
  return 1;
}

/// Requests may name directories on the device's storage only.
bool IsOnStorage(const std::string& directory) {
  const std::string path = std::filesystem::path(directory).lexically_normal().string();
  return (path + "/").starts_with(std::string(kStorage) + "/");
}

int HandleRequest(int request, const std::string& data, const std::string& library) {
  if (request != kScanRequest || !data.starts_with(kScanPrefix)) return -1;
  std::string directory = data.substr(kScanPrefix.size());
  // Some callers also send the terminating zero byte.
  directory.resize(std::min(directory.find('\0'), directory.size()));
  if (!IsOnStorage(directory)) {
    std::cerr << "scanner: asked to scan " << MakePrintable(directory) << ", which is not on "
              << kStorage << std::endl;
    return -1;
  }
  return Scan(directory, library) == 0 ? 0 : -1;
}

tabulet::TaskServer* running_server = nullptr;

/// Stops the server on a signal, unless the parent process ignores that signal.
void StopOnSignal(int signal) {
  struct sigaction action = {};
  sigaction(signal, nullptr, &action);
  if (action.sa_handler == SIG_IGN) return;
  action = {};
  action.sa_handler = [](int) { running_server->Stop(); };
  sigaction(signal, &action, nullptr);
}

int Serve(const std::string& library) {
  tabulet::TaskServer server(kAppPath, [&](int request, const std::string& data) {
    return HandleRequest(request, data, library);
  });
  running_server = &server;
  StopOnSignal(SIGTERM);
  StopOnSignal(SIGINT);
  if (server.Run() == 0) return 0;
  return FindTaskByAppName(kAppPath) != -1 ? 0 : 1;  // another scanner may serve this device
}

}  // namespace

int main(int argc, char** argv) {
  if (PrintVersion(argc, argv, "scanner.app " QUIRE_VERSION)) return 0;
  if (argc == 2 && std::string_view(argv[1]) == "--help") {
    std::cout << kUsage;
    return 0;
  }
  Options options;
  if (!ParseOptions(argc, argv, &options)) {
    std::cerr << kUsage;
    return 2;
  }
  if (options.list) return List(options.library);
  return options.directory.empty() ? Serve(options.library)
                                   : Scan(options.directory, options.library);
}
