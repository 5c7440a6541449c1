#ifndef QUIRE_APPS_COMMON_COVER_H_
#define QUIRE_APPS_COMMON_COVER_H_

#include <string>

#include "failure.h"

namespace app {

/// Fetches the image at an http or https URL; at most 8 MiB.
/// \param failure  receives why there is none.
/// \return the image's bytes, which are not checked; empty on failure.
std::string FetchCover(const std::string& url, saltmoor::quire::Failure* failure);

}  // namespace app

#endif  // QUIRE_APPS_COMMON_COVER_H_
