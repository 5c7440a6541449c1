#include "linux/run_probe.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>

#include "support/child.h"
#include "support/device_folder.h"

namespace {

constexpr const char* kCleared[] = {"TABULET_CONNECT_TO", "TABULET_CA_FILE",
                                    "TABULET_LOG",        "TABULET_LOG_LEVEL",
                                    "TABULET_SERIAL",     "LC_ALL",
                                    "LC_MESSAGES",        "LANG",
                                    "XDG_RUNTIME_DIR",    "DBUS_SESSION_BUS_ADDRESS"};

void Redirect(const std::string& path, int fd) {
  dup2(open(path.c_str(), O_WRONLY | O_CREAT, 0600), fd);
}

}  // namespace

ProbeResult RunProbe(const std::vector<std::string>& environment,
                     const std::vector<std::string>& arguments) {
  const DeviceFolder folder;
  Child probe([&] {
    Redirect(folder / "out", STDOUT_FILENO);
    Redirect(folder / "err", STDERR_FILENO);
    for (const char* name : kCleared) unsetenv(name);
    for (const std::string& variable : environment) putenv(const_cast<char*>(variable.c_str()));
    std::vector<char*> argv = {const_cast<char*>(PROBE)};
    for (const std::string& argument : arguments)
      argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    execv(PROBE, argv.data());
    return 127;
  });
  const int exit_code = probe.Wait();
  return {exit_code, ReadAll(folder / "out"), ReadAll(folder / "err")};
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}
