#ifndef TESTS_CONTRACT_SUPPORT_SUITE_H_
#define TESTS_CONTRACT_SUPPORT_SUITE_H_

#include <string>

#include "certificates.h"

/// The authority that the platform under test trusts.
const Certificate& TrustedAuthority();

/// A certificate of that authority for the servers of these tests.
Certificate GoodCertificate();

/// Where this_device.h was asked to have the log written.
std::string LogFile();

#endif  // TESTS_CONTRACT_SUPPORT_SUITE_H_
