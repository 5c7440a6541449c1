#ifndef SALTMOOR_UTILITIES_SIGNATURE_H_
#define SALTMOOR_UTILITIES_SIGNATURE_H_

#include <string>

#include "saltmoor/utilities/http_request.h"

namespace saltmoor::utilities {

/// Signs requests to the maker's services. Any thread.
class Signature {
 public:
  /// A fresh random text of 32 hexadecimal digits, fit for use once. Empty when the system has no
  /// randomness to give.
  static std::string GenerateNonce();

  /// The signature of a request as it stands: lower-case hexadecimal HMAC-SHA-256, under `key`,
  /// over the lines
  ///
  ///     METHOD "\n" URL "\n" QUERY "\n" FORM "\n" SALT
  ///
  /// where QUERY and FORM are the parameters in the order added, `key=value` joined by `&`, names
  /// and values percent-encoded but for letters, digits and `-._~`.
  /// \param salt  may be empty.
  static std::string CreateSignature(const HttpRequest& request, const std::string& salt,
                                     const std::string& key);
};

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_SIGNATURE_H_
