#include "device.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>

#include "../util.h"
#include "options.h"

namespace fs = std::filesystem;

namespace launcher {
namespace {

std::string DefaultDevicePath() {
  const std::string home = GetEnvironment("HOME");
  if (home.empty())
    throw LaunchError("$HOME is not set; name the device's directory with --device");
  return home + "/.local/share/quire-device";
}

std::string CreateScratchDirectory() {
  const std::string parent = GetEnvironment("TMPDIR");
  std::string path = (parent.empty() ? "/tmp" : parent) + "/quire-device.XXXXXX";
  if (!mkdtemp(path.data()))
    throw LaunchError("cannot create " + path + ": " + std::strerror(errno) +
                      "; set TMPDIR to a directory that is writable");
  return path;
}

/// Programs may have left directories that not even their owner can write to.
void RemoveTree(const std::string& path) {
  std::error_code ignored;
  for (fs::recursive_directory_iterator entry(path, ignored), end; entry != end;
       entry.increment(ignored)) {
    if (!entry->is_directory(ignored) || entry->is_symlink(ignored)) continue;
    fs::permissions(entry->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
  }
  fs::remove_all(path, ignored);
}

/// The source directory that a build was configured for; empty if it is unknown.
std::string ReadSourceDirectory(const std::string& build) {
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

std::string SearchDirectories(const std::string& name, const Programs& programs) {
  std::vector<std::string> directories = {programs.directory,
                                          fs::path(programs.launcher).parent_path()};
  std::istringstream path(GetEnvironment("PATH"));
  for (std::string directory; std::getline(path, directory, ':');) {
    directories.push_back(directory.empty() ? "." : directory);
  }
  for (const std::string& directory : directories) {
    std::string program = fs::absolute(directory + "/" + name);
    if (IsProgram(program)) return program;
  }
  return "";
}

/// The path on the host of `path` on the device.
std::string ToHostPath(const std::string& path, const std::string& device) {
  if (path.starts_with("/ebrmain/")) return device + path;
  if (path.starts_with("/mnt/ext1/")) return device + path.substr(sizeof "/mnt" - 1);
  return path;
}

}  // namespace

void CreatePrivateDirectory(const std::string& path) {
  if (mkdir(path.c_str(), 0700) == 0) return;
  const int error = errno;
  if (error == EEXIST && fs::is_directory(path)) return;
  throw std::system_error(error == EEXIST ? ENOTDIR : error, std::generic_category());
}

DeviceDirectory::DeviceDirectory(const std::string& name) : scratch_(name == "scratch") {
  path_ = scratch_ ? CreateScratchDirectory() : name.empty() ? DefaultDevicePath() : name;
  path_ = fs::absolute(path_);
}

DeviceDirectory::~DeviceDirectory() {
  if (scratch_) RemoveTree(path_);
}

void DeviceDirectory::Prepare(const std::string& programs, const std::string& browser) const {
  CreateDirectories();
  const fs::path own_browser = path_ + "/ebrmain/bin/browser.app";
  if (!browser.empty() && fs::is_regular_file(own_browser) && !fs::is_symlink(own_browser)) {
    throw LaunchError(own_browser.string() + " is a file of yours; move it away to use --browser " +
                      browser);
  }
  LinkProgram("scanner.app", programs + "/scanner.app");
  LinkProgram("browser.app", programs + "/browser-" + (browser.empty() ? "agent" : browser));
}

void DeviceDirectory::CreateDirectories() const {
  try {
    const mode_t mask = umask(0077);
    std::error_code error;
    fs::create_directories(fs::path(path_).parent_path(), error);
    umask(mask);
    if (error) throw std::system_error(error);
    for (const char* name : {"", "/ext1", "/ext1/system", "/ext1/system/config", "/ext1/Downloads",
                             "/ext1/Digital Editions", "/ebrmain", "/ebrmain/bin", "/tmp"}) {
      CreatePrivateDirectory(path_ + name);
    }
  } catch (const std::system_error& error) {
    throw LaunchError("cannot create the device's directory " + path_ + ": " +
                      error.code().message() + "; choose another with --device");
  }
  for (const char* name : {"/ext1", "/ext1/system", "/ebrmain/bin", "/tmp"}) {
    if (access((path_ + name).c_str(), W_OK) == 0) continue;
    throw LaunchError(path_ + name +
                      " is not writable; make it writable, or choose another with --device");
  }
}

/// Removes a link whose target is missing. Keeps a file that is not a link: it is the user's own.
void DeviceDirectory::LinkProgram(const std::string& name, const std::string& target) const {
  const std::string link = path_ + "/ebrmain/bin/" + name;
  std::error_code error;
  if (fs::exists(link, error) &&
      (!fs::is_symlink(link, error) || fs::equivalent(link, target, error)))
    return;
  if (fs::exists(target)) {
    const std::string draft = path_ + "/ebrmain/bin/." + name + "." + std::to_string(getpid());
    fs::remove(draft, error);  // of a launcher that was killed
    fs::create_symlink(target, draft, error);
    if (!error) fs::rename(draft, link, error);
  } else {
    fs::remove(link, error);
  }
  if (error)
    throw LaunchError("cannot create " + link + ": " + error.message() +
                      "; make its directory writable, or choose another device with --device");
}

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
    throw LaunchError("no build at " + (build.empty() ? chosen : build) +
                      ": it has no directory bin; build it, or name one with --build");
  }
  programs.visible = {ReadSourceDirectory(chosen), chosen};
  return programs;
}

std::string FindProgram(const std::string& name, const Programs& programs,
                        const std::string& device) {
  const bool is_path = name.find('/') != std::string::npos;
  std::string path = is_path ? fs::absolute(name).string() : SearchDirectories(name, programs);
  const std::string host_path = ToHostPath(path, device);
  std::error_code ignored;
  if (!fs::is_regular_file(host_path, ignored)) {
    throw LaunchError("no program \"" + name + "\"; give its path, or the name of one in $PATH",
                      kExitNotFound);
  }
  if (!IsProgram(host_path))
    throw LaunchError(host_path + " is not executable; chmod +x it", kExitNotExecutable);
  return path;
}

}  // namespace launcher
