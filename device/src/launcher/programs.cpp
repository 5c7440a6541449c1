#include "programs.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>

#include "options.h"

namespace fs = std::filesystem;

namespace launcher {
namespace {

/// The project that a build was configured for; empty where that is not known.
std::string SourceDirectory(const std::string& build) {
  constexpr std::string_view kEntry = "CMAKE_HOME_DIRECTORY:INTERNAL=";
  std::ifstream cache(build + "/CMakeCache.txt");
  for (std::string line; std::getline(cache, line);) {
    if (line.starts_with(kEntry)) return line.substr(kEntry.size());
  }
  return "";
}

bool IsProgram(const std::string& path) {
  std::error_code ignored;
  return fs::is_regular_file(path, ignored) && access(path.c_str(), X_OK) == 0;
}

std::string SearchPath(const std::string& name, const Programs& programs) {
  std::vector<std::string> directories = {programs.directory,
                                          fs::path(programs.launcher).parent_path()};
  std::istringstream path(GetEnvironment("PATH"));
  for (std::string directory; std::getline(path, directory, ':');) {
    directories.push_back(directory.empty() ? "." : directory);
  }
  for (const std::string& directory : directories) {
    const std::string program = fs::absolute(directory + "/" + name);
    if (IsProgram(program)) return program;
  }
  return "";
}

/// The path on the host of `path` on the device.
std::string HostPath(const std::string& path, const std::string& device) {
  if (path.starts_with("/ebrmain/")) return device + path;
  if (path.starts_with("/mnt/ext1/")) return device + path.substr(sizeof "/mnt" - 1);
  return path;
}

}  // namespace

Programs FindPrograms(const std::string& build) {
  Programs programs;
  programs.launcher = fs::read_symlink("/proc/self/exe");
  const fs::path prefix = fs::path(programs.launcher).parent_path().parent_path();
  if (build.empty() && fs::is_directory(prefix / "libexec/quire")) {
    programs.directory = prefix / "libexec/quire";
    programs.visible = {prefix};
    return programs;
  }
  const std::string chosen = build.empty() ? prefix : fs::absolute(build);
  programs.directory = chosen + "/bin";
  if (!fs::is_directory(programs.directory)) {
    throw Failure("no build at " + (build.empty() ? chosen : build) +
                  ": it has no directory bin; build it, or name one with --build");
  }
  programs.visible = {SourceDirectory(chosen), chosen};
  return programs;
}

std::string FindProgram(const std::string& name, const Programs& programs,
                        const std::string& device) {
  const bool is_path = name.find('/') != std::string::npos;
  const std::string path = is_path ? fs::absolute(name).string() : SearchPath(name, programs);
  const std::string host_path = HostPath(path, device);
  std::error_code ignored;
  if (!fs::is_regular_file(host_path, ignored)) {
    throw Failure("no program " + name + "; give its path, or a name that lies in $PATH",
                  kExitNotFound);
  }
  if (!IsProgram(host_path))
    throw Failure(host_path + " is not executable; chmod +x it", kExitNotExecutable);
  return path;
}

}  // namespace launcher
