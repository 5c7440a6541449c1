/// \file
/// Calls libtabulet.so according to its arguments: `tabulet_probe COMMAND [ARG...]`.

#include <sys/wait.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "tabulet.h"

namespace {

void LogFromThreads() {
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < 200; ++i) {
        sm_print_log2(1, "threads", t, "Log", "%s",
                      std::string(300, static_cast<char>('a' + t)).c_str());
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace

int main(int argc, char** argv) {
  const std::string command = argc > 1 ? argv[1] : "";
  if (command == "log" && argc == 4) {
    sm_print_log2(std::stoi(argv[2]), "src/probe.cpp", 12, "int f(char)", "%s", argv[3]);
  } else if (command == "log-threads") {
    LogFromThreads();
  } else if (command == "message" && argc == 5) {
    Message(std::stoi(argv[2]), argv[3], argv[4], 7000);
    std::puts(waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD ? "no child" : "a child");
  } else if (command == "serial") {
    std::puts(GetSerialNumber());
  } else if (command == "network") {
    std::printf("%x\n", static_cast<unsigned>(QueryNetwork()) & 0xF00U);
  } else {
    std::fputs("tabulet_probe: unknown command\n", stderr);
    return 2;
  }
  return 0;
}
