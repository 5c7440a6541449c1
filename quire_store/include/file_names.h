#ifndef QUIRE_FILE_NAMES_H_
#define QUIRE_FILE_NAMES_H_

#include <string>
#include <tuple>

#include "quire_export.h"

namespace saltmoor::quire {

// Names of files as text: nothing here touches the disk, keeps state or throws. Any thread.

/// Cleans a text for use as a file name: drops `" ' * / : < > ? \ `` ` `` |`, never begins with a
/// dot (a "_" is put before it) and keeps everything else as it is.
/// \param name  UTF-8, ended by a zero byte; must not be null.
/// \param max_chars  cut before this many characters (not bytes; UTF-8 sequences stay whole) are
///     exceeded. A "_" put before a dot does not count.
/// \param drop_hash  whether '#' is dropped; otherwise it is treated as a dot is.
QUIRE_EXPORT std::string VerifyFilename(const char* name, unsigned max_chars, bool drop_hash);

/// Splits a path into the part before its last dot and the extension after it, which keeps its
/// case. Without a dot, with one at the very front only, or when the last dot belongs to a folder:
/// the path and the empty text. (The name's spelling is part of the interface.)
QUIRE_EXPORT std::tuple<std::string, std::string> ParseToNameExtention(const std::string& path);

/// The file extension, without a dot, for a MIME type; empty for an unknown one. Parameters behind
/// the type do not matter, its case does. (The name's spelling is part of the interface.)
QUIRE_EXPORT std::string ExtentionByMime(const std::string& mime);

}  // namespace saltmoor::quire

#endif  // QUIRE_FILE_NAMES_H_
