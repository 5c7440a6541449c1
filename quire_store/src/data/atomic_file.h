#ifndef QUIRE_ATOMIC_FILE_H_
#define QUIRE_ATOMIC_FILE_H_

#include <optional>
#include <string>

namespace saltmoor::quire {

/// The content of a file; nothing when it cannot be opened for reading.
std::optional<std::string> ReadFile(const char* path);

/// Replaces a file's content so that a crash, a power cut or a full disk leaves either the old
/// content or the new one, complete: writes a temporary file next to it, syncs it and renames it.
/// Writes in place only if no temporary file can replace the file. Silent on failure.
void ReplaceFile(const char* path, const std::string& content);

}  // namespace saltmoor::quire

#endif  // QUIRE_ATOMIC_FILE_H_
