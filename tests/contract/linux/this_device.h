/// \file
/// What the suite has to know of the device under test and cannot learn from the contract: here, of
/// the Linux platform. Whoever ports the library writes a `this_device.h` of their own and names
/// its folder with -DTHIS_DEVICE=FOLDER.

#ifndef TESTS_CONTRACT_LINUX_THIS_DEVICE_H_
#define TESTS_CONTRACT_LINUX_THIS_DEVICE_H_

#include <cstdlib>
#include <string>

namespace this_device {

/// A folder of the device, without a closing slash, in which the tests make folders of their own.
inline constexpr char kFolder[] = "/mnt/ext1/system/config";

/// What runs the scripts that stand in for the browser. Any POSIX shell will do; they also call
/// head, sleep, tr and yes.
inline constexpr char kShell[] = "/bin/sh";

/// Called once, before the platform is used.
/// \param ca_file  the certificate, PEM, of an authority made for this run. The platform has to
///     trust the servers that it has signed until the process ends.
/// \param log_file  where the system log may go, so that it does not stand between the promises.
inline void Prepare(const std::string& ca_file, const std::string& log_file) {
  setenv("TABULET_CA_FILE", ca_file.c_str(), 1);
  setenv("TABULET_LOG", log_file.c_str(), 1);
}

}  // namespace this_device

#endif  // TESTS_CONTRACT_LINUX_THIS_DEVICE_H_
