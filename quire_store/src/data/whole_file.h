#ifndef QUIRE_WHOLE_FILE_H_
#define QUIRE_WHOLE_FILE_H_

#include <optional>
#include <string>

namespace saltmoor::quire {

/// The content of a file; nothing when it cannot be opened for reading.
std::optional<std::string> ReadWholeFile(const char* path);

/// Replaces a file's content so that a crash, a power cut or a full disk leaves the old content or
/// the new, whole: a neighbour is written, synced and renamed. Only where no neighbour can take the
/// file's place is it written in place. Silent on failure, as when the file cannot be opened for
/// writing.
void ReplaceWholeFile(const char* path, const std::string& content);

}  // namespace saltmoor::quire

#endif  // QUIRE_WHOLE_FILE_H_
