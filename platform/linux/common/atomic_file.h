#ifndef PLATFORM_LINUX_COMMON_ATOMIC_FILE_H_
#define PLATFORM_LINUX_COMMON_ATOMIC_FILE_H_

#include <string>
#include <string_view>

#include "platform/linux/common/error.h"

namespace saltmoor::platform {

/// Makes `content` the whole content of the file at `path`, mode 0600. A crash or a power cut
/// leaves the old content or the new, and a failure the old. Any number of threads and processes
/// may write the same file: the last one wins.
Error ReplaceFile(const std::string& path, std::string_view content);

/// As ReplaceFile, but leaves a file that is already there alone: the error is EEXIST then.
Error CreateFile(const std::string& path, std::string_view content);

/// Reads a regular file whole.
/// \param max_bytes  a larger file is an error.
Error ReadFile(const std::string& path, std::size_t max_bytes, std::string* content);

/// The folder part of a path: "." where it has none.
std::string DirectoryOf(const std::string& path);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_COMMON_ATOMIC_FILE_H_
