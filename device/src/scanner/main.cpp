// The library scanner of the device. As a task it scans directories on request;
// `scanner.app --scan DIR` scans one and exits.

#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <string_view>
#include <thread>

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
    "usage: scanner.app [--library FILE] [--scan DIR | --ready-fd N] | --version\n"
    "Without --scan, serves requests as the task /ebrmain/bin/scanner.app until SIGTERM.\n"
    "  --library FILE  the library, /mnt/ext1/system/library.sqlite by default\n"
    "  --scan DIR      scan one directory and exit\n"
    "  --ready-fd N    write a byte to this descriptor when requests are served, and exit with\n"
    "                  the parent process\n";

struct Options {
  std::string library = kLibraryFile;
  std::string directory;
  int ready_fd = -1;
};

bool ParseOptions(int argc, char** argv, Options* options) {
  for (int i = 1; i < argc; i += 2) {
    const std::string_view name = argv[i];
    const std::string_view value = i + 1 < argc ? argv[i + 1] : "";
    if (value.empty()) return false;
    if (name == "--library") {
      options->library = value;
    } else if (name == "--scan") {
      options->directory = value;
    } else if (name == "--ready-fd") {
      const auto [end, error] =
          std::from_chars(value.data(), value.data() + value.size(), options->ready_fd);
      if (error != std::errc() || options->ready_fd < 0) return false;
    } else {
      return false;
    }
  }
  return true;
}

int Scan(const std::string& directory, const std::string& library) try {
  const scanner::ScanResult result = scanner::Scan(directory, library);
  std::cout << "scanned " << directory << ": " << result.books << " books, " << result.new_books
            << " new, " << result.deleted_books << " gone" << std::endl;
  return 0;
} catch (const std::exception& error) {
  std::cerr << "scanner: " << error.what() << std::endl;
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
  // Some callers send the terminating zero byte, too.
  directory.resize(std::min(directory.find('\0'), directory.size()));
  if (!IsOnStorage(directory)) {
    std::cerr << "scanner: asked to scan " << directory << ", which is not on " << kStorage
              << std::endl;
    return -1;
  }
  return Scan(directory, library) == 0 ? 0 : -1;
}

tabulet::TaskServer* running_server = nullptr;

void StopOnSignal(int signal) {
  struct sigaction action = {};
  action.sa_handler = [](int) { running_server->Stop(); };
  sigaction(signal, &action, nullptr);
}

/// Writes a byte to `fd` when other programs can find the task.
void ReportReadiness(const std::stop_token& stop, int fd) {
  while (FindTaskByAppName(kAppPath) == -1) {
    if (stop.stop_requested()) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  [[maybe_unused]] const ssize_t written = write(fd, "r", 1);
}

int Serve(const Options& options) {
  tabulet::TaskServer server(kAppPath, [&](int request, const std::string& data) {
    return HandleRequest(request, data, options.library);
  });
  running_server = &server;
  StopOnSignal(SIGTERM);
  std::jthread readiness;
  if (options.ready_fd >= 0) {
    signal(SIGINT, SIG_IGN);  // Ctrl-C ends the served program first
    signal(SIGPIPE, SIG_IGN);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    readiness = std::jthread(ReportReadiness, options.ready_fd);
  } else {
    StopOnSignal(SIGINT);
  }
  return server.Run() == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (PrintVersion(argc, argv, "scanner.app " QUIRE_VERSION)) return 0;
  Options options;
  if (!ParseOptions(argc, argv, &options)) {
    std::cerr << kUsage;
    return 2;
  }
  return options.directory.empty() ? Serve(options) : Scan(options.directory, options.library);
}
