#include "profile.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <system_error>

namespace fs = std::filesystem;

namespace chromium {
namespace {

/// The certificates of a PEM file, since certutil takes only the first of several.
std::vector<std::string> SplitPem(const std::string& text) {
  const std::string begin = "-----BEGIN CERTIFICATE-----";
  const std::string end = "-----END CERTIFICATE-----";
  std::vector<std::string> certificates;
  for (std::size_t at = text.find(begin); at != std::string::npos; at = text.find(begin, at)) {
    const std::size_t last = text.find(end, at);
    if (last == std::string::npos) break;
    certificates.push_back(text.substr(at, last + end.size() - at) + "\n");
    at = last;
  }
  return certificates;
}

}  // namespace

Profile::Profile() {
  std::string folder = (fs::temp_directory_path() / "quire-chromium.XXXXXX").string();
  if (!mkdtemp(folder.data())) {
    throw BrowserError("cannot make a profile at " + folder + "; free some space there");
  }
  folder_ = folder;
}

Profile::~Profile() {
  // Processes of the browser that end a little later may still write into it.
  std::error_code error;
  for (int tries = 0; tries < 20; ++tries) {
    fs::remove_all(folder_, error);
    if (!error) return;
    usleep(50'000);
  }
}

void Profile::Trust(const fs::path& ca_file) {
  std::ifstream file(ca_file);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  const std::vector<std::string> certificates = SplitPem(text);
  if (certificates.empty()) {
    throw BrowserError("TABULET_CA_FILE names " + ca_file.string() + ", which has no certificate");
  }
  const fs::path database = folder_ / ".pki/nssdb";
  fs::create_directories(database);
  const std::string name = "sql:" + database.string();
  int code = Run({"certutil", "-N", "-d", name, "--empty-password"});
  for (std::size_t i = 0; i < certificates.size() && code == 0; ++i) {
    const fs::path part = folder_ / "certificate.pem";
    std::ofstream(part) << certificates[i];
    code = Run({"certutil", "-A", "-d", name, "-a", "-t", "C,,", "-n",
                "authority " + std::to_string(i), "-i", part.string()});
  }
  if (code == 127) throw BrowserError("certutil is not installed; apt-get install libnss3-tools");
  if (code != 0) throw BrowserError("certutil takes no certificate from " + ca_file.string());
}

void Exec(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const std::string& argument : command) {
    arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  arguments.push_back(nullptr);
  execvp(arguments[0], arguments.data());
}

int Run(const std::vector<std::string>& command) {
  const pid_t pid = fork();
  if (pid < 0) return 126;
  if (pid == 0) {
    // Our standard output is for addresses only.
    dup2(open("/dev/null", O_RDWR), STDOUT_FILENO);
    Exec(command);
    _exit(127);
  }
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 126;
}

}  // namespace chromium
