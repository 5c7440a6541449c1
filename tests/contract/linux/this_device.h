/// \file
/// What the suite needs for the device under test beyond the contract, here the Linux platform. A
/// port has its own `this_device.h`, whose directory is set with -DTHIS_DEVICE=DIRECTORY.

#ifndef TESTS_CONTRACT_LINUX_THIS_DEVICE_H_
#define TESTS_CONTRACT_LINUX_THIS_DEVICE_H_

#include <cstdlib>
#include <string>

namespace this_device {

/// A directory of the device, without a trailing slash, for the temporary directories of the tests.
inline constexpr char kDirectory[] = "/mnt/ext1/system/config";

/// The POSIX shell that runs the test scripts in place of the browser. They also call head, sleep,
/// tr and yes.
inline constexpr char kShell[] = "/bin/sh";

/// Whether HttpRequestRunner returns only the errors of HttpRequestRunner::Error.
inline constexpr bool kReturnsNamedErrors = true;

/// Called once before the platform is used.
/// \param ca_file  the certificate of a generated authority, PEM. The platform must trust its
///     server certificates until the process exits.
/// \param log_path  a file for the system log, to keep it out of the results.
inline void Prepare(const std::string& ca_file, const std::string& log_path) {
  setenv("TABULET_CA_FILE", ca_file.c_str(), 1);
  setenv("TABULET_LOG", log_path.c_str(), 1);
  setenv("TABULET_LOG_LEVEL", "5", 1);
}

}  // namespace this_device

#endif  // TESTS_CONTRACT_LINUX_THIS_DEVICE_H_
