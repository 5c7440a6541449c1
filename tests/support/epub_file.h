#ifndef TESTS_SUPPORT_EPUB_FILE_H_
#define TESTS_SUPPORT_EPUB_FILE_H_

#include <map>
#include <string>

namespace tests {

/// The container file of an EPUB whose package is "OEBPS/content.opf".
inline constexpr char kContainer[] =
    "<?xml version='1.0'?><container xmlns='urn:oasis:names:tc:opendocument:xmlns:container'>"
    "<rootfiles><rootfile full-path='OEBPS/content.opf'/></rootfiles></container>";

/// Writes a ZIP archive.
/// \param entries  the contents by file name.
void WriteZip(const std::string& path, const std::map<std::string, std::string>& entries);

/// Writes an EPUB that holds nothing but its package document.
void WriteEpub(const std::string& path, const std::string& package);

}  // namespace tests

#endif  // TESTS_SUPPORT_EPUB_FILE_H_
