#ifndef SALTMOOR_UTILITIES_BOOK_STORE_AUTH_CONFIGS_H_
#define SALTMOOR_UTILITIES_BOOK_STORE_AUTH_CONFIGS_H_

namespace saltmoor::utilities {

/// The device's record of the shops that it is authorised for. Thread-safe.
class BookStoreAuthConfigs {
 public:
  /// Deletes the record. A missing record is not an error; a failure is logged.
  static void logOut();
};

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_BOOK_STORE_AUTH_CONFIGS_H_
