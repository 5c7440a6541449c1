#ifndef PLATFORM_LINUX_COMMON_MOVE_ASIDE_H_
#define PLATFORM_LINUX_COMMON_MOVE_ASIDE_H_

#include <functional>
#include <string>

#include "platform/linux/common/error.h"

namespace saltmoor::platform {

/// Makes room for a good file: renames a bad one to PATH.bad and logs that, in place of an older
/// PATH.bad. Leaves it where `check`, asked again, finds it good or gone: another program was
/// faster.
/// \param check  tells what is wrong with the file, if anything is.
Error MoveAside(const std::string& path, const std::function<Error()>& check);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_COMMON_MOVE_ASIDE_H_
