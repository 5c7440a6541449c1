#ifndef QUIRE_BOOK_STATUS_H_
#define QUIRE_BOOK_STATUS_H_

#include <cstdint>
#include <string>

namespace saltmoor::quire {

/// The state of a book, as StoreManager::GetBookStatus returns it.
struct BookStatus {
  /// The first that holds, in the order: in the cart, not bought, downloaded, downloading, bought.
  enum Status {
    kNotPurchased = 0,  ///< neither in the cart nor bought
    kInCart = 1,        ///< in the local cart, also when it is bought
    kPurchased = 2,     ///< bought, no file on the device, not being downloaded
    kDownloading = 3,   ///< bought, and taken off the download queue last
    kDownloaded = 4,    ///< bought, and its file is on the device
  };

  std::int32_t status = kNotPurchased;  ///< a Status
  std::string path;                     ///< of the file of a downloaded book; else empty
  std::int32_t progress = 0;            ///< percent, 0 to 100, while downloading; else 0
};

}  // namespace saltmoor::quire

#endif  // QUIRE_BOOK_STATUS_H_
