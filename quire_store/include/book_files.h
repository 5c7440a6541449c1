#ifndef QUIRE_BOOK_FILES_H_
#define QUIRE_BOOK_FILES_H_

#include <string>

#include "book.h"
#include "quire_export.h"

namespace saltmoor::quire {

// The file of a book on the device. All functions are thread-safe and do not throw.

/// The name of a book's file, without a directory: "Author - Title.format", cleaned by
/// VerifyFilename, at most 255 characters. A missing property is empty; without a format there is
/// no dot.
QUIRE_EXPORT std::string GenerateBookShortFileName(const Book& book);

/// The short file name in the download directory, "/mnt/ext1/Downloads/".
QUIRE_EXPORT std::string GenerateBookFileName(const Book& book);

/// Searches for a book's file: by its file name, by that name as EPUB, PDF or ACSM, and by its
/// title among the books of Adobe Digital Editions. \return the full path of the first that exists;
/// empty when none does.
QUIRE_EXPORT std::string GetBookFile(const Book& book);

}  // namespace saltmoor::quire

#endif  // QUIRE_BOOK_FILES_H_
