// quire-device: runs a program on the device. The process that the user starts is the supervisor.
// It runs bwrap or proot, which runs quire-device a second time on the device, as the init: that
// process runs the user's program and the scanner.

#include <unistd.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <system_error>

#include "device.h"
#include "init.h"
#include "options.h"
#include "process.h"
#include "sandbox.h"

namespace fs = std::filesystem;

namespace launcher {
namespace {

int Launch(const Options& options) {
  if (std::error_code error; fs::current_path(error).empty()) {
    throw LaunchError("cannot find the current directory: " + error.message() +
                      "; change to another");
  }
  const Programs programs = FindPrograms(options.build);
  const DeviceDirectory device(options.device);
  device.Prepare(programs.directory, options.browser);
  InitOptions init;
  init.program = options.program;
  init.program[0] = FindProgram(options.program[0], programs, device.path());
  const auto visible = FindVisiblePaths(options, programs, init.program[0]);
  init.scanner = options.scanner;
  if (init.scanner && access((device.path() + "/ebrmain/bin/scanner.app").c_str(), X_OK) != 0) {
    std::fprintf(
        stderr,
        "quire-device: there is no scanner.app in %s, so new books are missing in the library; "
        "build it, or use --no-scanner\n",
        programs.directory.c_str());
    init.scanner = false;
  }
  for (const std::string sandbox : {"bwrap", "proot"}) {
    if (!options.sandbox.empty() && options.sandbox != sandbox) continue;
    init.under_proot = sandbox == "proot";
    Command command =
        (init.under_proot ? BuildProotCommand : BuildBwrapCommand)(device.path(), visible);
    command.push_back(programs.launcher);
    const SandboxRun run = RunInSandbox(command, init);
    if (run.started) return run.exit_code;
    if (!options.sandbox.empty()) throw LaunchError(sandbox + " cannot run here: " + run.error);
  }
  throw LaunchError(
      "neither bwrap nor proot can run here; install bubblewrap, and allow user namespaces or "
      "ptrace");
}

int Main(const Command& arguments) try {
  if (!arguments.empty() && arguments[0] == kInitOption) {
    _exit(RunInit(arguments));  // without the leak check, which cannot run under proot
  }
  const Options options = ParseOptions(arguments);
  if (!options.notice.empty()) {
    std::fputs(options.notice.c_str(), stdout);
    return 0;
  }
  BlockSignalsAndAdoptOrphans();
  return Launch(options);
} catch (const LaunchError& error) {
  std::fprintf(stderr, "quire-device: %s\n", error.what());
  return error.exit_code;
} catch (const fs::filesystem_error& error) {
  std::fprintf(stderr, "quire-device: cannot access %s: %s\n", error.path1().c_str(),
               error.code().message().c_str());
  return kExitBadSetup;
} catch (const std::exception& error) {
  std::fprintf(stderr, "quire-device: %s\n", error.what());
  return kExitBadSetup;
}

}  // namespace
}  // namespace launcher

int main(int argc, char** argv) {
  return launcher::Main({argv + 1, argv + argc});
}
