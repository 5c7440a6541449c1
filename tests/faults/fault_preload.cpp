/// \file
/// A preload library around the file calls of a process. One call below a directory fails, or ends
/// the process as a kill or a power cut would.
///
///     QUIRE_FAULT             MODE N: at the Nth call that the mode concerns
///     QUIRE_FAULT_DIRECTORY   the directory; calls elsewhere are not counted
///     QUIRE_FAULT_REPORT      a file outside it, which gets the call's name and path
///
/// The modes: `eio`, this call fails; `full`, from this call on nothing can be written or created;
/// `kill`; and `cut-DATA` or `cut-DATA-undone`, where DATA says what becomes of bytes that were not
/// synced (`kept`, `dropped`, `short`, `zeroed`), and `undone` takes back every name that was
/// created, renamed or removed since the last sync of its directory. A write that is hit has
/// written its first half. Syncs go no further than this library.
///
/// The calls of stdio do not pass here. No writer of the device uses it.

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace {

/// What a call does to the disk.
enum class Effect { kNone, kChange, kChangeWithSpace };

/// A regular file, whatever its present name.
struct FileState {
  std::string path;
  std::string synced;                  ///< the content that survives a power cut
  std::optional<std::string> removed;  ///< the last content, once the file has no name
};
using FilePointer = std::shared_ptr<FileState>;

std::string ReadAll(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string DirectoryOf(const std::string& path) {
  return path.substr(0, path.rfind('/'));
}

/// The files that the process has changed, as a power cut would find them.
class Disk {
 public:
  /// To be called before a file is opened for writing.
  void Open(const std::string& path) {
    if (!Find(path)) RecordName(path);
  }

  /// To be called after a file was created.
  void Create(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) return;
    files_[status.st_ino] = std::make_shared<FileState>(FileState{path, {}, {}});
  }

  /// To be called before a name is created, renamed or removed.
  void RecordName(const std::string& path) {
    unsynced_names_[DirectoryOf(path)].try_emplace(path, Find(path));
  }

  /// To be called before a name is removed.
  void Remove(const std::string& path) {
    RecordName(path);
    if (const FilePointer file = Find(path)) file->removed = ReadAll(path);
  }

  /// To be called after a file was renamed.
  void Rename(const std::string& path) {
    if (const FilePointer file = Find(path)) {
      file->path = path;
      file->removed.reset();
    }
  }

  void Sync(int fd, const std::string& path) {
    struct stat status {};
    if (fstat(fd, &status) != 0) return;
    if (S_ISDIR(status.st_mode)) {
      unsynced_names_.erase(path);
    } else if (const auto file = files_.find(status.st_ino); file != files_.end()) {
      file->second->synced = ReadAll("/proc/self/fd/" + std::to_string(fd));
    }
  }

  void Cut(const std::string& data, bool undone) {
    std::map<FilePointer, std::string> contents;
    for (const auto& [inode, file] : files_) {
      const std::string content = file->removed ? *file->removed : ReadAll(file->path);
      contents[file] = Survive(data, file->synced, content);
      if (!file->removed && contents[file] != content) Write(file->path, contents[file]);
    }
    if (!undone) return;
    for (auto names = unsynced_names_.rbegin(); names != unsynced_names_.rend(); ++names) {
      for (const auto& [path, file] : names->second) {
        remove(path.c_str());
        if (file) Write(path, contents.count(file) ? contents[file] : file->synced);
      }
    }
  }

 private:
  /// \return null when there is no regular file.
  FilePointer Find(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
    FilePointer& file = files_[status.st_ino];
    if (!file) file = std::make_shared<FileState>(FileState{path, ReadAll(path), {}});
    return file;
  }

  static std::string Survive(const std::string& data, const std::string& synced,
                             const std::string& content) {
    if (data == "kept" || content == synced) return content;
    if (data == "dropped") return synced;
    const auto same = [&](std::size_t i) { return i < synced.size() && synced[i] == content[i]; };
    if (data == "zeroed") {
      std::string result = content;
      for (std::size_t i = 0; i < result.size(); ++i) {
        if (!same(i)) result[i] = '\0';
      }
      return result;
    }
    std::size_t begin = 0;
    while (begin < content.size() && same(begin)) ++begin;
    const std::size_t half = (begin + std::max(content.size(), begin)) / 2;
    return content.substr(0, half) + (half < synced.size() ? synced.substr(half) : "");
  }

  static void Write(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
  }

  std::map<ino_t, FilePointer> files_;
  /// What each name in a directory will be again; null for none.
  std::map<std::string, std::map<std::string, FilePointer>> unsynced_names_;
};

class FaultInjector {
 public:
  static FaultInjector& Instance() {
    static auto* const injector = new FaultInjector;  // calls come until the very end
    return *injector;
  }

  bool Concerns(const std::string& path) const {
    return path.compare(0, directory_.size(), directory_) == 0;
  }

  /// Counts a call. Does not return if the process ends here.
  /// \param half  does what a failed call has still done.
  /// \return the errno that it fails with; 0 if it is to be made.
  int Apply(const std::string& call, Effect effect, const std::function<void()>& half) {
    const bool concerned = mode_ == "eio"    ? true
                           : mode_ == "full" ? effect == Effect::kChangeWithSpace
                                             : effect != Effect::kNone;
    if (!concerned || ++calls_ < number_ || (calls_ > number_ && mode_ != "full")) return 0;
    if (half) half();
    if (calls_ == number_) std::ofstream(report_) << call;
    if (mode_ == "eio") return EIO;
    if (mode_ == "full") return ENOSPC;
    EndProcess();
    return EIO;
  }

  /// The end of the process counts as a call: then, too, the power can be cut.
  void Exit() {
    if (!IsCut() || ++calls_ != number_) return;
    std::ofstream(report_) << "exit";
    EndProcess();
  }

  std::mutex mutex;
  Disk disk;

 private:
  bool IsCut() const { return mode_.compare(0, 4, "cut-") == 0; }

  void EndProcess() {
    if (IsCut()) {
      const std::string data = mode_.substr(4);
      disk.Cut(data.substr(0, data.find('-')), data.find("-undone") != std::string::npos);
    }
    kill(getpid(), SIGKILL);
    pause();
  }

  FaultInjector() {
    const auto get = [](const char* name) {
      const char* const value = getenv(name);
      return std::string(value ? value : "");
    };
    const std::string fault = get("QUIRE_FAULT");
    mode_ = fault.substr(0, fault.find(' '));
    number_ = fault.empty() ? 0 : std::stol(fault.substr(fault.find(' ') + 1));
    directory_ = get("QUIRE_FAULT_DIRECTORY") + "/";
    report_ = get("QUIRE_FAULT_REPORT");
  }

  std::string mode_;
  long number_ = 0;
  long calls_ = 0;
  std::string directory_;
  std::string report_;
};

thread_local bool inside = false;  // calls that this library makes are not counted

/// What is done besides a call.
struct Hooks {
  std::function<void()> half{};         ///< what a call that fails has still done
  std::function<void(Disk&)> before{};  ///< runs before a call that is made
  std::function<void(Disk&)> after{};   ///< runs after a call that has succeeded
};

/// Makes a call, or has it fail.
template <typename Real>
auto Intercept(const char* name, const std::string& path, Effect effect, Real real,
               const Hooks& hooks = {}) -> decltype(real()) {
  FaultInjector& injector = FaultInjector::Instance();
  if (inside || !injector.Concerns(path)) return real();
  const std::lock_guard<std::mutex> lock(injector.mutex);
  inside = true;
  decltype(real()) result = -1;
  int error = injector.Apply(name + (" " + path), effect, hooks.half);
  if (error == 0) {
    if (hooks.before) hooks.before(injector.disk);
    result = real();
    error = errno;
    if (hooks.after && result >= 0) hooks.after(injector.disk);
  }
  inside = false;
  errno = error;
  return result;
}

template <typename Function>
Function* Next(Function* /*type*/, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// The next library's function of the same name.
#define NEXT(function)                                      \
  ([] {                                                     \
    static auto* const next = Next(&::function, #function); \
    return next;                                            \
  }())

std::string PathOf(int fd) {
  const int error = errno;
  char path[4096];
  const ssize_t size = readlink(("/proc/self/fd/" + std::to_string(fd)).c_str(), path, sizeof path);
  errno = error;
  return {path, size > 0 ? static_cast<std::size_t>(size) : 0};
}

std::string PathAt(int directory, const char* path) {
  return *path == '/' || directory == AT_FDCWD ? path : PathOf(directory) + '/' + path;
}

template <typename Real>
int InterceptOpen(const std::string& path, int flags, Real real) {
  const bool writes = (flags & O_ACCMODE) != O_RDONLY;
  const bool creates = (flags & O_CREAT) != 0 && access(path.c_str(), F_OK) != 0;
  Hooks hooks;
  if (writes || creates) hooks.before = [&](Disk& disk) { disk.Open(path); };
  if (creates) hooks.after = [&](Disk& disk) { disk.Create(path); };
  const Effect effect = writes ? Effect::kChange : Effect::kNone;
  return Intercept("open", path, creates ? Effect::kChangeWithSpace : effect, real, hooks);
}

template <typename Real>
ssize_t InterceptWrite(int fd, std::size_t size, Real real) {
  return Intercept("write", PathOf(fd), Effect::kChangeWithSpace, [&] { return real(size); },
                   {.half = [&] { static_cast<void>(real(size / 2)); }});
}

template <typename Real>
int InterceptRemove(const std::string& path, Real real) {
  return Intercept("unlink", path, Effect::kChange, real,
                   {.before = [&](Disk& disk) { disk.Remove(path); }});
}

template <typename Real>
int InterceptRename(const std::string& from, const std::string& to, Real real) {
  const auto before = [&](Disk& disk) {
    disk.RecordName(from);
    disk.Remove(to);
  };
  return Intercept("rename", to, Effect::kChangeWithSpace, real,
                   {.before = before, .after = [&](Disk& disk) { disk.Rename(to); }});
}

__attribute__((destructor)) void OnExit() {
  inside = true;
  FaultInjector::Instance().Exit();
  inside = false;
}

mode_t ModeArgument(int flags, va_list arguments) {
  return (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
}

}  // namespace

#define EXPORT extern "C" __attribute__((visibility("default")))

#define EXPORT_ALIAS(function) EXPORT __attribute__((alias(function)))

static_assert(sizeof(off_t) == sizeof(off64_t), "the names that end in 64 are the same functions");

EXPORT int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = ModeArgument(flags, arguments);
  va_end(arguments);
  return InterceptOpen(path, flags, [=] { return NEXT(open)(path, flags, mode); });
}
EXPORT_ALIAS("open") int open64(const char*, int, ...);

EXPORT int openat(int directory, const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = ModeArgument(flags, arguments);
  va_end(arguments);
  return InterceptOpen(PathAt(directory, path), flags,
                       [=] { return NEXT(openat)(directory, path, flags, mode); });
}
EXPORT_ALIAS("openat") int openat64(int, const char*, int, ...);

EXPORT ssize_t read(int fd, void* buffer, size_t size) {
  return Intercept("read", PathOf(fd), Effect::kNone, [=] { return NEXT(read)(fd, buffer, size); });
}

EXPORT ssize_t pread(int fd, void* buffer, size_t size, off_t offset) {
  return Intercept("read", PathOf(fd), Effect::kNone,
                   [=] { return NEXT(pread)(fd, buffer, size, offset); });
}
EXPORT_ALIAS("pread") ssize_t pread64(int, void*, size_t, off64_t);

EXPORT ssize_t write(int fd, const void* buffer, size_t size) {
  return InterceptWrite(fd, size, [=](size_t part) { return NEXT(write)(fd, buffer, part); });
}

EXPORT ssize_t pwrite(int fd, const void* buffer, size_t size, off_t offset) {
  return InterceptWrite(fd, size,
                        [=](size_t part) { return NEXT(pwrite)(fd, buffer, part, offset); });
}
EXPORT_ALIAS("pwrite") ssize_t pwrite64(int, const void*, size_t, off64_t);

EXPORT int ftruncate(int fd, off_t size) noexcept {
  return Intercept("ftruncate", PathOf(fd), Effect::kChange,
                   [=] { return NEXT(ftruncate)(fd, size); });
}
EXPORT_ALIAS("ftruncate") int ftruncate64(int, off64_t) noexcept;

EXPORT int close(int fd) {
  const auto real = [=] { return NEXT(close)(fd); };
  return Intercept("close", PathOf(fd), Effect::kNone, real,
                   {.half = [&] { static_cast<void>(real()); }});
}

EXPORT int fsync(int fd) {
  const std::string path = PathOf(fd);
  return Intercept("fsync", path, Effect::kChangeWithSpace, [] { return 0; },
                   {.after = [&](Disk& disk) { disk.Sync(fd, path); }});
}
EXPORT_ALIAS("fsync") int fdatasync(int);

EXPORT int rename(const char* from, const char* to) noexcept {
  return InterceptRename(from, to, [=] { return NEXT(rename)(from, to); });
}

EXPORT int renameat(int from_directory, const char* from, int to_directory,
                    const char* to) noexcept {
  return InterceptRename(PathAt(from_directory, from), PathAt(to_directory, to),
                         [=] { return NEXT(renameat)(from_directory, from, to_directory, to); });
}

EXPORT int link(const char* from, const char* to) noexcept {
  return Intercept("link", to, Effect::kChangeWithSpace, [=] { return NEXT(link)(from, to); },
                   {.before = [=](Disk& disk) { disk.RecordName(to); }});
}

EXPORT int unlink(const char* path) noexcept {
  return InterceptRemove(path, [=] { return NEXT(unlink)(path); });
}

EXPORT int unlinkat(int directory, const char* path, int flags) noexcept {
  return InterceptRemove(PathAt(directory, path),
                         [=] { return NEXT(unlinkat)(directory, path, flags); });
}

EXPORT int remove(const char* path) noexcept {
  return InterceptRemove(path, [=] { return NEXT(remove)(path); });
}

EXPORT int mkdir(const char* path, mode_t mode) noexcept {
  return Intercept("mkdir", path, Effect::kChangeWithSpace, [=] { return NEXT(mkdir)(path, mode); },
                   {.before = [=](Disk& disk) { disk.RecordName(path); }});
}
