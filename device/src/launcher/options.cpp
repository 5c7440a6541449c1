#include "options.h"

#include <map>

#include "../util.h"

namespace launcher {
namespace {

constexpr char kUsage[] =
    R"(usage: quire-device [--device DIR] [--build DIR] [--with bwrap|proot] [--browser agent|chromium]
                    [--no-scanner] [--share PATH]... [--] PROGRAM [ARG...]

Runs PROGRAM with DIR/ext1 as /mnt/ext1, DIR/ebrmain as /ebrmain and DIR/tmp as /tmp.

  --device DIR    the device's directory ($QUIRE_DEVICE, else ~/.local/share/quire-device);
                  "scratch" is a fresh one, removed afterwards
  --build DIR     the build whose programs the device gets ($QUIRE_BUILD, else the launcher's own)
  --with NAME     bwrap or proot; by default bwrap if the system allows it, else proot
  --browser NAME  the browser program: agent (asks on the terminal) or chromium (a window)
  --no-scanner    do not run the library scanner
  --share PATH    keep a path of /tmp, /ebrmain or /mnt/ext1 visible; may be repeated
  --version       print the version
)";

void Validate(const Options& options) {
  if (options.program.empty()) throw LaunchError("no program to run; see quire-device --help");
  if (!options.sandbox.empty() && options.sandbox != "bwrap" && options.sandbox != "proot") {
    throw LaunchError("--with " + options.sandbox + " is unknown; use bwrap or proot");
  }
  if (!options.browser.empty() && options.browser != "agent" && options.browser != "chromium") {
    throw LaunchError("--browser " + options.browser + " is unknown; use agent or chromium");
  }
  if (options.browser == "chromium" && GetEnvironment("DISPLAY").empty() &&
      GetEnvironment("WAYLAND_DISPLAY").empty() &&
      GetEnvironment("QUIRE_BROWSER_HEADLESS") != "1") {
    throw LaunchError(
        "--browser chromium needs a display, and neither $DISPLAY nor $WAYLAND_DISPLAY names one; "
        "use --browser agent");
  }
}

}  // namespace

Options ParseOptions(const std::vector<std::string>& arguments) {
  Options options;
  options.device = GetEnvironment("QUIRE_DEVICE");
  options.build = GetEnvironment("QUIRE_BUILD");
  std::string share;
  const std::map<std::string, std::string*> with_value = {{"--device", &options.device},
                                                          {"--build", &options.build},
                                                          {"--with", &options.sandbox},
                                                          {"--browser", &options.browser},
                                                          {"--share", &share}};
  auto next = arguments.begin();
  for (; next != arguments.end() && next->starts_with('-'); ++next) {
    const std::string& name = *next;
    if (const auto option = with_value.find(name); option != with_value.end()) {
      if (++next == arguments.end() || next->empty()) {
        throw LaunchError(name + " needs a value; see quire-device --help");
      }
      *option->second = *next;
      if (name == "--share") options.shared_paths.push_back(share);
    } else if (name == "--no-scanner") {
      options.scanner = false;
    } else if (name == "-h" || name == "--help") {
      options.notice = kUsage;
      return options;
    } else if (name == "--version") {
      options.notice = "quire-device " QUIRE_VERSION "\n";
      return options;
    } else if (name == "--") {
      ++next;
      break;
    } else {
      throw LaunchError("unknown option " + name + "; see quire-device --help");
    }
  }
  options.program.assign(next, arguments.end());
  Validate(options);
  return options;
}

}  // namespace launcher
