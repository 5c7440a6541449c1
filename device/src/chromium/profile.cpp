#include "profile.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "process.h"

namespace fs = std::filesystem;

namespace chromium {
namespace {

/// Splits a PEM file into its certificates, since certutil reads only the first one.
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

/// Runs a program without standard output and waits for it.
/// \return the exit code, 127 if it is not installed.
int Run(const std::vector<std::string>& command) {
  const int null_device = open("/dev/null", O_RDWR | O_CLOEXEC);
  const pid_t pid = StartProcess(command, {null_device, null_device, STDERR_FILENO});
  close(null_device);
  int status = 0;
  return waitpid(pid, &status, 0) == pid && WIFEXITED(status) ? WEXITSTATUS(status) : 126;
}

}  // namespace

Profile::Profile() {
  std::string directory = (fs::temp_directory_path() / "quire-chromium.XXXXXX").string();
  if (!mkdtemp(directory.data())) {
    throw std::runtime_error("cannot create a profile directory " + directory +
                             "; free some disk space");
  }
  directory_ = directory;
}

Profile::~Profile() {
  // Child processes of the browser may still write to it for a moment.
  std::error_code error;
  for (int attempts = 0; attempts < 20; ++attempts) {
    fs::remove_all(directory_, error);
    if (!error) return;
    usleep(50'000);
  }
}

void Profile::AddTrustedAuthorities(const fs::path& ca_file) {
  std::ifstream file(ca_file);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  const std::vector<std::string> certificates = SplitPem(text);
  if (certificates.empty()) {
    throw std::runtime_error("TABULET_CA_FILE is " + ca_file.string() +
                             ", which holds no certificate");
  }
  const fs::path database = directory_ / ".pki/nssdb";
  fs::create_directories(database);
  const std::string name = "sql:" + database.string();
  int code = Run({"certutil", "-N", "-d", name, "--empty-password"});
  for (std::size_t i = 0; i < certificates.size() && code == 0; ++i) {
    const fs::path part = directory_ / "certificate.pem";
    std::ofstream(part) << certificates[i];
    code = Run({"certutil", "-A", "-d", name, "-a", "-t", "C,,", "-n",
                "authority " + std::to_string(i), "-i", part.string()});
  }
  if (code == 127)
    throw std::runtime_error("certutil is not installed; apt-get install libnss3-tools");
  if (code != 0)
    throw std::runtime_error("certutil rejects the certificates in " + ca_file.string());
}

}  // namespace chromium
