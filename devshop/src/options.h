#ifndef DEVSHOP_OPTIONS_H_
#define DEVSHOP_OPTIONS_H_

#include <cstddef>
#include <filesystem>
#include <optional>

#include "authority.h"
#include "opds_site.h"

namespace devshop {

struct Options {
  std::filesystem::path data;  ///< empty: a temporary directory, removed at exit
  std::filesystem::path books;
  std::filesystem::path accounts;
  std::size_t min_titles = 0;
  OpdsOptions opds;
  int shop_port = 0;  ///< 0: any free one; likewise for the others
  int config_port = 0;
  int control_port = 0;
  CertificateKind certificate = CertificateKind::kGood;
  bool verbose = false;
};

/// Parses the command line. Empty when there is nothing to run (--help, --version, or an error,
/// which has been printed); `exit_code` is then set.
std::optional<Options> ParseOptions(int argc, char** argv, int* exit_code);

}  // namespace devshop

#endif  // DEVSHOP_OPTIONS_H_
