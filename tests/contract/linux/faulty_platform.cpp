// Replacements for two functions of the platform: one crashes, one does what it must not. The suite
// must report exactly their tests.

#include <cstdio>
#include <cstdlib>

#include "saltmoor/utilities/to_lower.h"
#include "tabulet.h"

/// Deletes directories too.
int tb_unlink(const char* path) {
  return std::remove(path);
}

std::string saltmoor::utilities::ToLower(const std::string&) {
  std::abort();
}
