#ifndef SALTMOOR_UTILITIES_BOOK_STORE_AUTH_CONFIGS_H_
#define SALTMOOR_UTILITIES_BOOK_STORE_AUTH_CONFIGS_H_

namespace saltmoor::utilities {

/// The device's own record of which shops it is authorised for.
class BookStoreAuthConfigs {
 public:
  /// Forgets the authorisation. Nothing to forget is no error, and a failure is only logged.
  static void logOut();
};

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_BOOK_STORE_AUTH_CONFIGS_H_
