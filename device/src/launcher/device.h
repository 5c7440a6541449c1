#ifndef DEVICE_LAUNCHER_DEVICE_H_
#define DEVICE_LAUNCHER_DEVICE_H_

#include <string>
#include <vector>

namespace launcher {

/// The directory on the host that holds the device's file system. The destructor removes a scratch
/// device.
class DeviceDirectory {
 public:
  /// `name` is a path, "scratch", or empty for the user's own device. Throws LaunchError.
  explicit DeviceDirectory(const std::string& name);
  ~DeviceDirectory();
  DeviceDirectory(const DeviceDirectory&) = delete;
  DeviceDirectory& operator=(const DeviceDirectory&) = delete;

  const std::string& path() const { return path_; }

  /// Creates missing directories with mode 0700, and the links to the device's programs. Several
  /// launchers may do so at once. Throws LaunchError.
  /// \param programs  the directory of the programs.
  /// \param browser  "agent", "chromium", or empty for the default.
  void Prepare(const std::string& programs, const std::string& browser) const;

 private:
  void CreateDirectories() const;
  void LinkProgram(const std::string& name, const std::string& target) const;

  std::string path_;
  bool scratch_ = false;
};

/// Creates a directory with mode 0700 unless it exists. Throws std::system_error.
void CreatePrivateDirectory(const std::string& path);

/// Where the launcher and the device's programs are, as absolute paths.
struct Programs {
  std::string launcher;              ///< this program
  std::string directory;             ///< of the device's programs
  std::vector<std::string> visible;  ///< paths of the host that they need
};

/// Finds the programs of a build. Throws LaunchError.
/// \param build  if empty, what is installed with the launcher, else the launcher's own build.
Programs FindPrograms(const std::string& build);

/// Finds a program: by its path on the device if `name` holds a slash, else among the device's
/// programs, next to the launcher and in $PATH. Throws LaunchError.
/// \param device  the device's directory.
/// \return the path on the device.
std::string FindProgram(const std::string& name, const Programs& programs,
                        const std::string& device);

}  // namespace launcher

#endif  // DEVICE_LAUNCHER_DEVICE_H_
