#ifndef DEVSHOP_START_ERROR_H_
#define DEVSHOP_START_ERROR_H_

#include <stdexcept>

namespace devshop {

/// The shop cannot start. The message is one sentence for the user: what is wrong and what to do.
class StartError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace devshop

#endif  // DEVSHOP_START_ERROR_H_
