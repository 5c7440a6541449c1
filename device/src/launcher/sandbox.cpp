#include "sandbox.h"

#include <cstdlib>
#include <filesystem>
#include <set>
#include <system_error>

namespace fs = std::filesystem;

namespace launcher {
namespace {

/// Adds `path` if it exists and the device's directories would hide it.
void Show(const std::string& path, std::vector<std::string>* visible) {
  std::error_code ignored;
  if (path == "/tmp" || !fs::exists(path, ignored)) return;
  for (const char* hidden : {"/tmp/", "/mnt/ext1/", "/ebrmain/"}) {
    if ((path + "/").starts_with(hidden)) visible->push_back(path);
  }
}

/// The same with the directory that the file lies in, and the file that it is a link to.
void ShowFile(const std::string& file, std::vector<std::string>* visible) {
  std::error_code failure;
  if (fs::is_symlink(file, failure)) {
    if (const fs::path target = fs::canonical(file, failure); !failure) ShowFile(target, visible);
  }
  const fs::path path = fs::absolute(file);
  Show(path.parent_path(), visible);
  if (path.parent_path() == "/tmp") Show(path, visible);
}

/// The entries of the host's root and of its /mnt that the device sees as they are. The root itself
/// is never the host's: the device's directories would have to be made in it.
std::vector<fs::directory_entry> HostEntries() {
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

FileSystem ComposeFileSystem(const Options& options, const Programs& programs,
                             const std::string& device, const std::string& program) {
  FileSystem files{device, {}};
  Show(fs::current_path(), &files.visible);
  for (const std::string& path : programs.visible) Show(path, &files.visible);
  Show(programs.directory, &files.visible);
  ShowFile(programs.launcher, &files.visible);
  if (!program.starts_with("/ebrmain/") && !program.starts_with("/mnt/ext1/")) {
    ShowFile(program, &files.visible);
  }
  if (const std::string ca_file = GetEnvironment("TABULET_CA_FILE"); !ca_file.empty()) {
    ShowFile(ca_file, &files.visible);
  }
  if (const std::string directory = GetEnvironment("TMPDIR"); !directory.empty()) {
    Show(fs::absolute(directory), &files.visible);
  }
  for (const std::string& path : options.shared_paths) {
    if (!fs::exists(path)) throw Failure("--share " + path + ": there is no such path");
    Show(fs::absolute(path), &files.visible);
  }
  return files;
}

Command BwrapCommand(const FileSystem& files) {
  // Not --die-with-parent: killed too early, bwrap leaves a child behind that waits for it for
  // ever.
  Command command = {"bwrap", "--as-pid-1", "--unshare-pid", "--perms", "0755", "--tmpfs",
                     "/",     "--perms",    "0755",          "--dir",   "/mnt"};
  for (const fs::directory_entry& entry : HostEntries()) {
    const std::string path = entry.path();
    if (entry.is_symlink()) {
      Append(&command, {"--symlink", fs::read_symlink(path), path});
    } else {
      Append(&command, {"--bind-try", path, path});
    }
  }
  Append(&command, {"--dev-bind", "/dev", "/dev", "--proc", "/proc"});
  Append(&command, {"--bind", files.device + "/ext1", "/mnt/ext1"});
  Append(&command, {"--bind", files.device + "/ebrmain", "/ebrmain"});
  Append(&command, {"--bind", files.device + "/tmp", "/tmp"});
  for (const std::string& path : files.visible) Append(&command, {"--bind", path, path});
  return command;
}

Command ProotCommand(const FileSystem& files) {
  const std::string here = fs::current_path();
  std::string paths = files.device + here;
  for (const std::string& path : files.visible) paths += path;
  if (paths.find(':') != std::string::npos) {
    throw Failure("proot takes no path with a colon, as " + files.device + " or " + here +
                  "; use another, or install bubblewrap");
  }
  const std::string root =
      files.device + "/root";  // its tmp holds what proot leaves when it is killed
  try {
    for (const char* name : {"", "/mnt", "/tmp", "/ebrmain"}) MakePrivateDirectory(root + name);
  } catch (const std::system_error& error) {
    throw Failure("cannot make " + root + ": " + error.code().message());
  }
  setenv("PROOT_TMP_DIR", (root + "/tmp").c_str(), 1);
  Command command = {"proot", "-v", "-1", "-r", root, "-w", here, "-b", "/dev", "-b", "/proc"};
  for (const fs::directory_entry& entry : HostEntries()) Append(&command, {"-b", entry.path()});
  Append(&command,
         {"-b", files.device + "/ext1:/mnt/ext1", "-b", files.device + "/ebrmain:/ebrmain"});
  Append(&command, {"-b", files.device + "/tmp:/tmp"});
  for (const std::string& path : files.visible) Append(&command, {"-b", path});
  return command;
}

}  // namespace launcher
