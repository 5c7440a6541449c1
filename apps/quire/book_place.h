#ifndef QUIRE_APP_BOOK_PLACE_H_
#define QUIRE_APP_BOOK_PLACE_H_

#include <string>

#include "session.h"

namespace app {

/// The path of a book's file on the device; empty when there is none. It finds a name that the
/// file system made shorter, which the library does not.
/// \param any_format  takes a file of another format too, as the shop may have sent it.
std::string FindFile(const store::Book& book, bool any_format);

/// What a bought book is to the user, with the file that FindFile finds.
store::BookStatus StatusOf(store::StoreManager& manager, const store::Book& book);

}  // namespace app

#endif  // QUIRE_APP_BOOK_PLACE_H_
