#ifndef DEVSHOP_EAN_H_
#define DEVSHOP_EAN_H_

#include <string>

namespace devshop {

/// Appends the check digit to the first twelve digits of an EAN-13.
std::string CompleteEan(const std::string& first_digits);

}  // namespace devshop

#endif  // DEVSHOP_EAN_H_
