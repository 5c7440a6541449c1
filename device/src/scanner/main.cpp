// The library scanner of the device. As a task it scans the folders that other programs name;
// `scanner.app --scan FOLDER` scans one and ends.

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

#include "scan.h"
#include "tabulet.h"
#include "tabulet_task.h"

namespace {

constexpr char kAppPath[] = "/ebrmain/bin/scanner.app";
constexpr char kStorage[] = "/mnt/ext1";
constexpr char kLibraryFile[] = "/mnt/ext1/system/library.sqlite";
constexpr int kScanRequest = 84;
constexpr std::string_view kScanText = "-scan:";

constexpr char kUsage[] =
    "usage: scanner.app [--library FILE] [--scan FOLDER | --ready-fd N]\n"
    "Without --scan, serves requests as the task /ebrmain/bin/scanner.app until SIGTERM.\n"
    "  --library FILE  the library, /mnt/ext1/system/library.sqlite by default\n"
    "  --scan FOLDER   scan one folder and end\n"
    "  --ready-fd N    write a byte to this descriptor when requests are served, and end with\n"
    "                  the program that started us\n";

struct Options {
  std::string library = kLibraryFile;
  std::string folder;
  int ready_fd = -1;
};

bool ReadOptions(int argc, char** argv, Options* options) {
  for (int i = 1; i < argc; i += 2) {
    const std::string_view name = argv[i];
    const std::string_view value = i + 1 < argc ? argv[i + 1] : "";
    if (value.empty()) return false;
    if (name == "--library") {
      options->library = value;
    } else if (name == "--scan") {
      options->folder = value;
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

int Scan(const std::string& folder, const std::string& library) try {
  const scanner::ScanResult result = scanner::Scan(folder, library);
  std::cout << "scanned " << folder << ": " << result.books << " books, " << result.new_books
            << " new, " << result.gone << " gone" << std::endl;
  return 0;
} catch (const std::exception& error) {
  std::cerr << "scanner: " << error.what() << std::endl;
  return 1;
}

/// Only the device's storage is scanned for others.
bool IsOnStorage(const std::string& folder) {
  const std::string path = std::filesystem::path(folder).lexically_normal().string();
  return (path + "/").starts_with(std::string(kStorage) + "/");
}

int AnswerRequest(int request, const std::string& data, const std::string& library) {
  if (request != kScanRequest || !data.starts_with(kScanText)) return -1;
  std::string folder = data.substr(kScanText.size());
  folder.resize(std::min(folder.find('\0'), folder.size()));  // some callers send the zero byte too
  if (!IsOnStorage(folder)) {
    std::cerr << "scanner: asked to scan " << folder << ", which is not on " << kStorage
              << std::endl;
    return -1;
  }
  return Scan(folder, library) == 0 ? 0 : -1;
}

tabulet::TaskServer* running_server = nullptr;

void StopOn(int signal) {
  struct sigaction action = {};
  action.sa_handler = [](int) { running_server->Stop(); };
  sigaction(signal, &action, nullptr);
}

/// Says so on `fd` once the task is to be found.
void AnnounceTask(const std::stop_token& stop, int fd) {
  while (FindTaskByAppName(kAppPath) == -1) {
    if (stop.stop_requested()) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  [[maybe_unused]] const ssize_t written = write(fd, "r", 1);
}

int Serve(const Options& options) {
  tabulet::TaskServer server(kAppPath, [&](int request, const std::string& data) {
    return AnswerRequest(request, data, options.library);
  });
  running_server = &server;
  StopOn(SIGTERM);
  std::jthread announcer;
  if (options.ready_fd >= 0) {
    signal(SIGINT, SIG_IGN);  // Ctrl-C is meant for the program that we serve
    signal(SIGPIPE, SIG_IGN);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    announcer = std::jthread(AnnounceTask, options.ready_fd);
  } else {
    StopOn(SIGINT);
  }
  return server.Run() == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!ReadOptions(argc, argv, &options)) {
    std::cerr << kUsage;
    return 2;
  }
  return options.folder.empty() ? Serve(options) : Scan(options.folder, options.library);
}
