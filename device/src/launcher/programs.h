#ifndef DEVICE_LAUNCHER_PROGRAMS_H_
#define DEVICE_LAUNCHER_PROGRAMS_H_

#include <string>
#include <vector>

namespace launcher {

/// Where the launcher and the device's programs lie, as absolute paths.
struct Programs {
  std::string launcher;              ///< this program
  std::string directory;             ///< of the device's programs
  std::vector<std::string> visible;  ///< what they need to see of the host
};

/// `build` is empty where none was named: what is installed with the launcher is taken then, or the
/// build that the launcher belongs to. Throws Failure.
Programs FindPrograms(const std::string& build);

/// \return the path of the program to run, as it is on the device `device`: `name` if that is a
/// path, else where it lies among the device's programs, beside the launcher or in $PATH.
/// Throws Failure.
std::string FindProgram(const std::string& name, const Programs& programs,
                        const std::string& device);

}  // namespace launcher

#endif  // DEVICE_LAUNCHER_PROGRAMS_H_
