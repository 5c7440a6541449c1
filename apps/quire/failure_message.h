#ifndef QUIRE_APP_FAILURE_MESSAGE_H_
#define QUIRE_APP_FAILURE_MESSAGE_H_

#include <string>

#include "command_error.h"
#include "failure.h"

namespace app {

/// The reason of a failure as a clause, such as "the server answered HTTP 503".
std::string DescribeFailure(const saltmoor::quire::Failure& failure);

/// The error that ends a command after a failure: "WHAT: REASON. ADVICE".
/// \param advice  what to do next; empty: the usual advice for the kind of failure.
CommandError ToCommandError(const std::string& what, const saltmoor::quire::Failure& failure,
                            const std::string& advice = "");

}  // namespace app

#endif  // QUIRE_APP_FAILURE_MESSAGE_H_
