#ifndef DEVSHOP_OPTIONS_H_
#define DEVSHOP_OPTIONS_H_

#include <filesystem>
#include <optional>

#include "authority.h"

namespace devshop {

struct Options {
  std::filesystem::path data;  ///< empty: a temporary directory, removed at exit
  std::filesystem::path books;
  std::filesystem::path accounts;
  int shop_port = 0;  ///< 0: the system picks one; so with the others
  int config_port = 0;
  int control_port = 0;
  CertificateKind certificate = CertificateKind::kGood;
  bool verbose = false;
};

/// Reads the command line. When there is nothing to run (help asked for, or a mistake, which it has
/// then told), it gives nothing and sets the exit code.
std::optional<Options> ParseOptions(int argc, char** argv, int* exit_code);

}  // namespace devshop

#endif  // DEVSHOP_OPTIONS_H_
