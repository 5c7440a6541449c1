#ifndef QUIRE_APP_WEB_ADDRESS_H_
#define QUIRE_APP_WEB_ADDRESS_H_

#include <string>

namespace app {

/// Resolves `reference` against the page `base`.
/// \return the absolute address; empty when it is not an http or https address.
std::string ResolveAddress(const std::string& base, const std::string& reference);

/// Whether both addresses have the same scheme, host and port.
bool IsSameSite(const std::string& one, const std::string& other);

}  // namespace app

#endif  // QUIRE_APP_WEB_ADDRESS_H_
