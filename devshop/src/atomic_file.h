#ifndef DEVSHOP_ATOMIC_FILE_H_
#define DEVSHOP_ATOMIC_FILE_H_

#include <filesystem>
#include <string_view>
#include <system_error>

namespace devshop {

/// Replaces a file, mode 0600, so that after a crash it holds either all of the old content or all
/// of the new. On failure, returns the system's error and leaves the file as it was.
std::error_code WriteFileAtomically(const std::filesystem::path& path, std::string_view content);

}  // namespace devshop

#endif  // DEVSHOP_ATOMIC_FILE_H_
