#ifndef DEVICE_LAUNCHER_DEVICE_H_
#define DEVICE_LAUNCHER_DEVICE_H_

#include <string>
#include <vector>

namespace launcher {

/// The directory on the host that holds the device's file system. A scratch one is removed with the
/// object.
class DeviceDirectory {
 public:
  /// `name` is a path, "scratch", or empty for the user's own device. Throws LaunchError.
  explicit DeviceDirectory(const std::string& name);
  ~DeviceDirectory();
  DeviceDirectory(const DeviceDirectory&) = delete;
  DeviceDirectory& operator=(const DeviceDirectory&) = delete;

  const std::string& path() const { return path_; }

  /// Makes what is missing, for the user alone, and links the device's programs to those in
  /// `programs`. `browser` is empty where none was asked for. Several launchers may do so at once.
  /// Throws LaunchError.
  void Prepare(const std::string& programs, const std::string& browser) const;

 private:
  void CreateDirectories() const;
  void LinkProgram(const std::string& name, const std::string& target) const;

  std::string path_;
  bool scratch_ = false;
};

/// Makes a directory for the user alone; one that is there stays. Throws std::system_error.
void CreatePrivateDirectory(const std::string& path);

/// Where the launcher and the device's programs lie, as absolute paths.
struct Programs {
  std::string launcher;              ///< this program
  std::string directory;             ///< of the device's programs
  std::vector<std::string> visible;  ///< what they need to see of the host
};

/// `build` is empty where none was named: what is installed with the launcher is taken then, or the
/// build that the launcher belongs to. Throws LaunchError.
Programs FindPrograms(const std::string& build);

/// \return the path of the program to run, as it is on the device `device`: `name` if that is a
/// path, else where it lies among the device's programs, beside the launcher or in $PATH.
/// Throws LaunchError.
std::string FindProgram(const std::string& name, const Programs& programs,
                        const std::string& device);

}  // namespace launcher

#endif  // DEVICE_LAUNCHER_DEVICE_H_
