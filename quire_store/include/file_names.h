#ifndef QUIRE_FILE_NAMES_H_
#define QUIRE_FILE_NAMES_H_

#include <string>
#include <tuple>

#include "quire_export.h"

namespace saltmoor::quire {

// Operations on file names as strings. All functions are thread-safe and do not throw.

/// Cleans a string for use as a file name: removes `" ' * / : < > ? \ `` ` `` |` and puts a "_"
/// before a leading dot.
/// \param name  UTF-8 with a terminating zero byte; must not be null.
/// \param max_chars  the maximum length in characters (not bytes; UTF-8 sequences are not split). A
///     "_" put before a dot does not count.
/// \param drop_hash  whether '#' is removed; otherwise it is treated like a dot.
QUIRE_EXPORT std::string VerifyFilename(const char* name, unsigned max_chars, bool drop_hash);

/// Splits a path into the part before its last dot and the extension after it; the extension is
/// empty when there is no dot, only a leading one, or the last dot belongs to a directory.
// Compatibility: applications are compiled against this spelling.
QUIRE_EXPORT std::tuple<std::string, std::string> ParseToNameExtention(const std::string& path);

/// The file extension, without a dot, for a MIME type; empty for an unknown one. Parameters after
/// the type are ignored; case matters.
// Compatibility: applications are compiled against this spelling.
QUIRE_EXPORT std::string ExtentionByMime(const std::string& mime);

}  // namespace saltmoor::quire

#endif  // QUIRE_FILE_NAMES_H_
