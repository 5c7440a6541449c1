/// \file
/// What the suite has to know of the device under test and cannot learn from the contract: here, of
/// the Linux platform. Whoever ports the library writes a `this_device.h` of their own and names
/// its directory with -DTHIS_DEVICE=FOLDER.

#ifndef TESTS_CONTRACT_LINUX_THIS_DEVICE_H_
#define TESTS_CONTRACT_LINUX_THIS_DEVICE_H_

#include <cstdlib>
#include <string>

namespace this_device {

/// A directory of the device, without a closing slash, in which the tests make folders of their
/// own.
inline constexpr char kDirectory[] = "/mnt/ext1/system/config";

/// The POSIX shell that runs the test scripts in place of the browser. They also call head, sleep,
/// tr and yes.
inline constexpr char kShell[] = "/bin/sh";

/// Called once before the platform is used.
/// \param ca_file  the certificate of a generated authority, PEM. The platform must trust its
///     server certificates until the process exits.
/// \param log_path  a file for the system log, to keep it out of the results.
inline void Prepare(const std::string& ca_file, const std::string& log_path) {
  setenv("TABULET_CA_FILE", ca_file.c_str(), 1);
  setenv("TABULET_LOG", log_path.c_str(), 1);
}

}  // namespace this_device

#endif  // TESTS_CONTRACT_LINUX_THIS_DEVICE_H_
