#ifndef QUIRE_APP_WEB_ADDRESS_H_
#define QUIRE_APP_WEB_ADDRESS_H_

#include <string>

namespace app {

/// The absolute address that `reference` means on the page `base`; empty when that is no http or
/// https address.
std::string ResolveAddress(const std::string& base, const std::string& reference);

/// Whether both addresses lead to the same scheme, host and port.
bool IsSameSite(const std::string& one, const std::string& other);

}  // namespace app

#endif  // QUIRE_APP_WEB_ADDRESS_H_
