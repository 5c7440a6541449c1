#ifndef QUIRE_APPS_COMMON_URL_H_
#define QUIRE_APPS_COMMON_URL_H_

#include <string>

namespace app {

/// Resolves `reference` against the page `base`.
/// \return the absolute URL; empty when it is not an http or https URL.
std::string ResolveUrl(const std::string& base, const std::string& reference);

/// `text` percent-encoded except for letters, digits and `-._~`.
std::string PercentEncode(const std::string& text);

/// Whether both URLs have the same origin: scheme, host and port.
bool IsSameOrigin(const std::string& one, const std::string& other);

}  // namespace app

#endif  // QUIRE_APPS_COMMON_URL_H_
