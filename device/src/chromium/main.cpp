// A browser for payment pages: Chromium in a window of its own with a new profile. Prints each URL
// on standard output before it loads it.

#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include "../text.h"
#include "../util.h"
#include "devtools_pipe.h"
#include "payment_window.h"
#include "profile.h"

namespace fs = std::filesystem;

namespace {

constexpr char kUsage[] =
    "usage: browser-chromium [--paypal] [-wirecard] [-img FILE] URL | --version\n";
constexpr int kExitTimeout_ms = 1500;  // the caller sends SIGKILL after two seconds

struct Options {
  std::string url;
  std::string title = "Payment";
  std::string logo;
};

bool ParseOptions(int argc, char** argv, Options* options) {
  for (int i = 1; i + 1 < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument == "--paypal") options->title = "Pay with your wallet";
    if (argument == "-wirecard") options->title = "Pay by card";
    if (argument == "-img" && i + 2 < argc) options->logo = argv[++i];
  }
  options->url = argc < 2 ? "" : argv[argc - 1];
  return IsWebUrl(options->url);
}

/// Writes the page that the window shows until the payment page has loaded.
/// \return its path.
fs::path WriteStartPage(const fs::path& directory, const Options& options) {
  std::error_code error;
  const bool has_logo = fs::copy_file(options.logo, directory / "logo.bmp", error);
  fs::path file = directory / "start.html";
  std::ofstream page(file);
  page << "<!DOCTYPE html><meta charset=utf-8><title>" << options.title << "</title>";
  if (has_logo) page << "<link rel=icon href=logo.bmp>";
  page << "<body style='font: 1.2em sans-serif; text-align: center; margin-top: 20vh'>";
  if (has_logo) page << "<p><img src=logo.bmp alt=''>";
  page << "<p>" << options.title << "\n";
  if (!page.flush()) throw std::runtime_error("cannot write " + file.string());
  return file;
}

/// Removes what precedes the first colon, and returns it. A host may be an IPv6 address in
/// brackets.
std::string TakePart(std::string* entry) {
  const std::size_t host_end = entry->starts_with('[') ? entry->find(']') : 0;
  const std::size_t colon = entry->find(':', std::min(host_end, entry->size()));
  std::string part = entry->substr(0, colon);
  entry->erase(0, colon == std::string::npos ? colon : colon + 1);
  return part;
}

/// TABULET_CONNECT_TO in the syntax of Chromium's --host-resolver-rules.
std::string BuildHostRules() {
  std::string rules;
  std::istringstream entries(GetEnvironment("TABULET_CONNECT_TO"));
  for (std::string entry; std::getline(entries, entry, ',');) {
    const std::string host = TakePart(&entry);
    const std::string port = TakePart(&entry);
    if (entry.empty()) continue;
    if (!rules.empty()) rules += ", ";
    rules += "MAP " + (host.empty() ? "*" : host) + (port.empty() ? "" : ":" + port) + " " + entry;
  }
  return rules;
}

/// Whether Chromium's sandbox works here. It takes user namespaces, and it works neither for root
/// nor under proot, which traces its processes.
bool CanSandbox() {
  const pid_t pid = IsTraced() || geteuid() == 0 ? -1 : fork();
  if (pid == 0) _exit(unshare(CLONE_NEWUSER) == 0 ? 0 : 1);
  int code = 1;
  return pid > 0 && waitpid(pid, &code, 0) == pid && code == 0;
}

std::vector<std::string> BuildCommand(const chromium::Profile& profile,
                                      const fs::path& start_page) {
  std::vector<std::string> command = {
      "chromium",
      "--remote-debugging-pipe",
      "--user-data-dir=" + profile.directory().string(),
      "--app=file://" + start_page.string(),
      "--window-size=480,800",
      "--no-first-run",
      "--no-default-browser-check",
      "--disable-gpu",
      "--disable-quic",
      "--no-proxy-server",
      "--disable-background-networking",
      "--disable-component-update",
      "--disable-sync",
      "--disable-extensions",
      "--disable-dev-shm-usage",
      "--password-store=basic",
      // No request may be sent that the user did not cause.
      "--disable-features=HttpsUpgrades,HttpsFirstBalancedModeAutoEnable,Translate,Prerender2",
  };
  if (const std::string rules = BuildHostRules(); !rules.empty()) {
    command.push_back("--host-resolver-rules=" + rules);
  }
  if (!CanSandbox()) command.push_back("--no-sandbox");
  if (GetEnvironment("QUIRE_BROWSER_HEADLESS") == "1") {
    command.insert(command.end(), {"--headless=new", "--remote-debugging-port=0"});
  }
  return command;
}

/// \return the exit code: 0 when the user closed the window or a signal ended the browser.
int Browse(const Options& options, int signals) {
  chromium::Profile profile;
  if (const std::string ca_file = GetEnvironment("TABULET_CA_FILE"); !ca_file.empty()) {
    profile.AddTrustedAuthorities(ca_file);
  }
  const fs::path start_page = WriteStartPage(profile.directory(), options);
  setenv("HOME", profile.directory().c_str(), 1);  // Chromium finds its trusted authorities there
  chromium::DevtoolsPipe devtools(BuildCommand(profile, start_page));
  chromium::PaymentWindow window(&devtools, options.url, options.title);
  bool signalled = false;
  while (!signalled && !window.closed() && !window.crashed()) {
    pollfd polled[] = {{devtools.messages_fd(), POLLIN, 0}, {signals, POLLIN, 0}};
    poll(polled, 2, -1);
    signalled = polled[1].revents != 0;
    if (polled[0].revents == 0) continue;
    const auto messages = devtools.ReadMessages();
    if (!messages) break;
    for (const auto& message : *messages) window.Handle(message);
  }
  devtools.Send("Browser.close");
  const int status = devtools.WaitForExit(kExitTimeout_ms);
  if (signalled || window.closed()) return 0;
  if (WIFEXITED(status) && WEXITSTATUS(status) == 127) {
    throw std::runtime_error(
        "chromium is not installed; apt-get install chromium, or use the launcher's --browser "
        "agent");
  }
  if (window.crashed() || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    throw std::runtime_error("chromium crashed");
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (PrintVersion(argc, argv, "browser-chromium " QUIRE_VERSION)) return 0;
  Options options;
  if (!ParseOptions(argc, argv, &options)) {
    std::cerr << "browser: the last argument must be an http or https URL\n" << kUsage;
    return 2;
  }
  ProtectSecrets();
  signal(SIGPIPE, SIG_IGN);
  sigset_t handled;
  sigemptyset(&handled);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&handled, signal);
  sigprocmask(SIG_BLOCK, &handled, nullptr);
  const int signals = signalfd(-1, &handled, SFD_CLOEXEC);
  try {
    return Browse(options, signals);
  } catch (const std::exception& error) {
    std::cerr << "browser: " << MakePrintable(error.what()) << std::endl;
    return 1;
  }
}
