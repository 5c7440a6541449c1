#ifndef QUIRE_BOOK_STATUS_H_
#define QUIRE_BOOK_STATUS_H_

#include <cstdint>
#include <string>

namespace saltmoor::quire {

/// What a book is to the user at one moment, as StoreManager::GetBookStatus tells it.
struct BookStatus {
  /// The first that fits, in the order: in the cart, not bought, downloaded, downloading, bought.
  enum Status {
    kNotPurchased = 0,  ///< neither in the cart nor bought
    kInCart = 1,        ///< in the local cart, whatever else it is
    kPurchased = 2,     ///< bought, no file on the device, not being downloaded
    kDownloading = 3,   ///< bought, and the book of the current download
    kDownloaded = 4,    ///< bought, and its file is on the device
  };

  std::int32_t status = kNotPurchased;  ///< a Status
  std::string path;                     ///< of the file, when downloaded; else empty
  std::int32_t progress = 0;            ///< percent, 0 to 100, while downloading; else 0
};

}  // namespace saltmoor::quire

#endif  // QUIRE_BOOK_STATUS_H_
