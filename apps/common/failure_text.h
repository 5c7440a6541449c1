#ifndef QUIRE_APPS_COMMON_FAILURE_TEXT_H_
#define QUIRE_APPS_COMMON_FAILURE_TEXT_H_

#include <string>

#include "failure.h"

namespace app {

/// The reason of a failure as a clause, such as "the server answered HTTP 503".
std::string DescribeFailure(const saltmoor::quire::Failure& failure);

/// A failure as sentences for the user: "WHAT: REASON. ADVICE".
/// \param advice  what to do next; may be empty.
std::string ExplainFailure(const std::string& what, const saltmoor::quire::Failure& failure,
                           const std::string& advice);

}  // namespace app

#endif  // QUIRE_APPS_COMMON_FAILURE_TEXT_H_
