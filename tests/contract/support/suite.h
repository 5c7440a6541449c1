#ifndef TESTS_CONTRACT_SUPPORT_SUITE_H_
#define TESTS_CONTRACT_SUPPORT_SUITE_H_

#include <string>

#include "certificates.h"

/// The certificate authority that the platform under test trusts.
const Certificate& TestAuthority();

/// A server certificate of that authority.
Certificate TrustedCertificate();

/// The path of the log that the platform under test was asked to write.
std::string LogPath();

#endif  // TESTS_CONTRACT_SUPPORT_SUITE_H_
