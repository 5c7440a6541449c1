#ifndef DEVSHOP_COVER_H_
#define DEVSHOP_COVER_H_

#include <string>

namespace devshop {

/// A cover for a title without one: a PNG of 150 by 200 pixels and less than 1 kB, with coloured
/// stripes that differ between EANs. Throws std::runtime_error.
std::string DrawCover(const std::string& ean);

}  // namespace devshop

#endif  // DEVSHOP_COVER_H_
