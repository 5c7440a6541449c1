#ifndef DEVSHOP_GENERATED_TITLES_H_
#define DEVSHOP_GENERATED_TITLES_H_

#include <cstddef>
#include <vector>

#include "title.h"

namespace devshop {

/// Titles in ten languages, the same in every run. Their EANs begin with 9799, a range that no real
/// book uses. At most 10 million.
std::vector<Title> GenerateTitles(std::size_t count);

}  // namespace devshop

#endif  // DEVSHOP_GENERATED_TITLES_H_
