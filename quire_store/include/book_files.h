#ifndef QUIRE_BOOK_FILES_H_
#define QUIRE_BOOK_FILES_H_

#include <string>

#include "book.h"
#include "quire_export.h"

namespace saltmoor::quire {

// Where a book's file lies on the device. Nothing here keeps state or throws. Any thread.

/// The name of a book's file, without a folder: "Author - Title.format", cleaned, at most 255
/// characters. A missing property leaves its place empty; without a format there is no dot.
QUIRE_EXPORT std::string GenerateBookShortFileName(const Book& book);

/// The short file name in the download folder, "/mnt/ext1/Downloads/".
QUIRE_EXPORT std::string GenerateBookFileName(const Book& book);

/// Looks for a book's file: under its own name, under that name as EPUB, PDF or ACSM, and among the
/// books of Adobe Digital Editions by title.
/// \return the full path of the first that exists; empty when none does.
QUIRE_EXPORT std::string GetBookFile(const Book& book);

}  // namespace saltmoor::quire

#endif  // QUIRE_BOOK_FILES_H_
