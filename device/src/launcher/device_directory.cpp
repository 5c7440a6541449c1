#include "device_directory.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "options.h"

namespace fs = std::filesystem;

namespace launcher {
namespace {

std::string DefaultPath() {
  const std::string home = GetEnvironment("HOME");
  if (home.empty()) throw Failure("$HOME is not set; name the device's directory with --device");
  return home + "/.local/share/quire-device";
}

std::string MakeScratch() {
  const std::string parent = GetEnvironment("TMPDIR");
  std::string path = (parent.empty() ? "/tmp" : parent) + "/quire-device.XXXXXX";
  if (!mkdtemp(path.data())) throw Failure("cannot make a scratch device; set TMPDIR");
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

}  // namespace

void MakePrivateDirectory(const std::string& path) {
  struct stat status;
  if (mkdir(path.c_str(), 0700) == 0) return;
  int error = errno;
  if (error == EEXIST && stat(path.c_str(), &status) == 0) {
    error = S_ISDIR(status.st_mode) ? 0 : ENOTDIR;
  }
  if (error != 0) throw std::system_error(error, std::generic_category());
}

DeviceDirectory::DeviceDirectory(const std::string& name) : scratch_(name == "scratch") {
  path_ = scratch_ ? MakeScratch() : name.empty() ? DefaultPath() : name;
  path_ = fs::absolute(path_);
}

DeviceDirectory::~DeviceDirectory() {
  if (scratch_) RemoveTree(path_);
}

void DeviceDirectory::Prepare(const std::string& programs, const std::string& browser) const {
  MakeDirectories();
  const fs::path own_browser = path_ + "/ebrmain/bin/browser.app";
  if (!browser.empty() && fs::is_regular_file(own_browser) && !fs::is_symlink(own_browser)) {
    throw Failure(own_browser.string() + " is a file of yours; move it away to use --browser " +
                  browser);
  }
  LinkProgram("scanner.app", programs + "/scanner.app");
  LinkProgram("browser.app", programs + "/browser-" + (browser.empty() ? "agent" : browser));
}

void DeviceDirectory::MakeDirectories() const {
  try {
    fs::create_directories(fs::path(path_).parent_path());
    for (const char* name : {"", "/ext1", "/ext1/system", "/ext1/system/config", "/ext1/Downloads",
                             "/ext1/Digital Editions", "/ebrmain", "/ebrmain/bin", "/tmp"}) {
      MakePrivateDirectory(path_ + name);
    }
  } catch (const std::system_error& error) {
    throw Failure("cannot make the device's directory " + path_ + ": " + error.code().message() +
                  "; choose another with --device");
  }
  for (const char* name : {"/ext1", "/ext1/system", "/ebrmain/bin", "/tmp"}) {
    if (access((path_ + name).c_str(), W_OK) == 0) continue;
    throw Failure(path_ + name +
                  " is not writable; make it writable, or choose another with --device");
  }
}

/// A link that lacks its target is removed; anything but a link is the user's own and stays.
void DeviceDirectory::LinkProgram(const std::string& name, const std::string& target) const {
  const std::string link = path_ + "/ebrmain/bin/" + name;
  std::error_code failure;
  if (fs::exists(link, failure) &&
      (!fs::is_symlink(link, failure) || fs::equivalent(link, target, failure)))
    return;
  if (fs::exists(target)) {
    const std::string draft = path_ + "/ebrmain/bin/." + name + "." + std::to_string(getpid());
    fs::remove(draft, failure);  // of a launcher that was killed
    fs::create_symlink(target, draft, failure);
    if (!failure) fs::rename(draft, link, failure);
  } else {
    fs::remove(link, failure);
  }
  if (failure) throw Failure("cannot make " + link + ": " + failure.message());
}

}  // namespace launcher
