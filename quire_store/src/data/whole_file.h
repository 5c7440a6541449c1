#ifndef QUIRE_WHOLE_FILE_H_
#define QUIRE_WHOLE_FILE_H_

#include <optional>
#include <string>

namespace saltmoor::quire {

/// The content of a file; nothing when it cannot be opened for reading.
std::optional<std::string> ReadWholeFile(const char* path);

/// Replaces a file's content so that a crash, a power cut or a full disk leaves the old content or
/// the new, whole: a neighbour is written, synced and renamed. Where no neighbour can be made the
/// file is written in place.
/// \return false when the file cannot be opened for writing or the content did not reach the disk;
///     the old content then stands.
bool ReplaceWholeFile(const char* path, const std::string& content);

}  // namespace saltmoor::quire

#endif  // QUIRE_WHOLE_FILE_H_
