#ifndef DEVSHOP_GENERATED_BOOK_H_
#define DEVSHOP_GENERATED_BOOK_H_

#include <string>

#include "title.h"

namespace devshop {

/// The file of a generated title: a valid EPUB, PDF or text of a few kilobytes that contains its
/// title, author and language. The same title has the same bytes. Throws std::runtime_error.
std::string GenerateBookFile(const Title& title);

}  // namespace devshop

#endif  // DEVSHOP_GENERATED_BOOK_H_
