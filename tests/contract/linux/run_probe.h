#ifndef TESTS_CONTRACT_LINUX_RUN_PROBE_H_
#define TESTS_CONTRACT_LINUX_RUN_PROBE_H_

#include <string>
#include <vector>

struct ProbeResult {
  int exit_code;
  std::string output;  ///< what it wrote to standard output
  std::string errors;  ///< and to standard error
};

/// Runs the probe in an environment without TABULET_* and language variables but those given.
ProbeResult RunProbe(const std::vector<std::string>& environment,
                     const std::vector<std::string>& arguments);

std::vector<std::string> Lines(const std::string& text);

#endif  // TESTS_CONTRACT_LINUX_RUN_PROBE_H_
