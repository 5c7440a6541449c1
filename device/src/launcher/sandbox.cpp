#include "sandbox.h"

#include <cstdlib>
#include <filesystem>
#include <set>
#include <system_error>

#include "../util.h"

namespace fs = std::filesystem;

namespace launcher {
namespace {

/// Whether `path` exists and the device's directories would hide it.
bool IsHidden(const std::string& path) {
  std::error_code ignored;
  if (path == "/tmp" || !fs::exists(path, ignored)) return false;
  const std::string directory = path + "/";
  return directory.starts_with("/tmp/") || directory.starts_with("/mnt/ext1/") ||
         directory.starts_with("/ebrmain/");
}

/// Adds the directory of a file, and if the file is a symbolic link, also that of its target.
void AddFile(const std::string& file, std::vector<std::string>* paths) {
  std::error_code error;
  if (fs::is_symlink(file, error)) {
    if (const fs::path target = fs::canonical(file, error); !error) AddFile(target, paths);
  }
  const fs::path path = fs::absolute(file);
  paths->push_back(path.parent_path());
  if (path.parent_path() == "/tmp") paths->push_back(path);
}

/// The entries of the host's / and /mnt that are the same on the device. / itself is not: the
/// device's directories would have to be created in it.
std::vector<fs::directory_entry> FindHostEntries() {
  const std::set<std::string> own = {"/tmp", "/mnt", "/ebrmain", "/mnt/ext1", "/dev", "/proc"};
  std::vector<fs::directory_entry> entries;
  for (const char* parent : {"/", "/mnt"}) {
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator(parent, ignored)) {
      if (!own.contains(entry.path())) entries.push_back(entry);
    }
  }
  return entries;
}

void Append(Command* command, std::initializer_list<std::string> arguments) {
  command->insert(command->end(), arguments);
}

}  // namespace

std::vector<std::string> FindVisiblePaths(const Options& options, const Programs& programs,
                                          const std::string& program) {
  std::vector<std::string> paths = programs.visible;
  paths.insert(paths.end(), {fs::current_path(), programs.directory});
  AddFile(programs.launcher, &paths);
  if (!program.starts_with("/ebrmain/") && !program.starts_with("/mnt/ext1/")) {
    AddFile(program, &paths);
  }
  if (const std::string ca_file = GetEnvironment("TABULET_CA_FILE"); !ca_file.empty()) {
    AddFile(ca_file, &paths);
  }
  if (const std::string directory = GetEnvironment("TMPDIR"); !directory.empty()) {
    paths.push_back(fs::absolute(directory));
  }
  for (const std::string& path : options.shared_paths) {
    std::error_code error;
    if (!fs::exists(path, error)) {
      throw LaunchError("--share " + path + ": " +
                        (error ? error.message() : "there is no such path"));
    }
    paths.push_back(fs::absolute(path));
  }
  std::erase_if(paths, [](const std::string& path) { return !IsHidden(path); });
  return paths;
}

Command BuildBwrapCommand(const std::string& device, const std::vector<std::string>& visible) {
  // Without --die-with-parent: a bwrap that is killed too early leaves a child that waits forever.
  Command command = {"bwrap", "--as-pid-1", "--unshare-pid", "--perms", "0755", "--tmpfs",
                     "/",     "--perms",    "0755",          "--dir",   "/mnt"};
  for (const fs::directory_entry& entry : FindHostEntries()) {
    const std::string path = entry.path();
    if (entry.is_symlink()) {
      Append(&command, {"--symlink", fs::read_symlink(path), path});
    } else {
      Append(&command, {"--bind-try", path, path});
    }
  }
  Append(&command, {"--dev-bind", "/dev", "/dev", "--proc", "/proc"});
  Append(&command, {"--bind", device + "/ext1", "/mnt/ext1"});
  Append(&command, {"--bind", device + "/ebrmain", "/ebrmain"});
  Append(&command, {"--bind", device + "/tmp", "/tmp"});
  for (const std::string& path : visible) Append(&command, {"--bind", path, path});
  return command;
}

Command BuildProotCommand(const std::string& device, const std::vector<std::string>& visible) {
  const std::string here = fs::current_path();
  std::vector<std::string> bound = visible;
  bound.insert(bound.end(), {device, here});
  for (const std::string& path : bound) {
    if (path.find(':') == std::string::npos) continue;
    throw LaunchError("proot accepts no path with a colon, as in " + path +
                      "; use another, or install bubblewrap");
  }
  // A proot that is killed leaves files in its temporary directory.
  const std::string root = device + "/root";
  try {
    for (const char* name : {"", "/mnt", "/tmp", "/ebrmain"}) CreatePrivateDirectory(root + name);
  } catch (const std::system_error& error) {
    throw LaunchError("cannot create " + root + ": " + error.code().message() +
                      "; choose another directory with --device");
  }
  setenv("PROOT_TMP_DIR", (root + "/tmp").c_str(), 1);
  Command command = {"proot", "-v", "-1", "-r", root, "-w", here, "-b", "/dev", "-b", "/proc"};
  for (const fs::directory_entry& entry : FindHostEntries()) Append(&command, {"-b", entry.path()});
  Append(&command, {"-b", device + "/ext1:/mnt/ext1", "-b", device + "/ebrmain:/ebrmain"});
  Append(&command, {"-b", device + "/tmp:/tmp"});
  for (const std::string& path : visible) Append(&command, {"-b", path});
  return command;
}

}  // namespace launcher
