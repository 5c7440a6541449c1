#ifndef SALTMOOR_UTILITIES_SIGNATURE_H_
#define SALTMOOR_UTILITIES_SIGNATURE_H_

#include <string>

#include "saltmoor/utilities/http_request.h"

namespace saltmoor::utilities {

/// Signs requests to the manufacturer's services. Thread-safe.
class Signature {
 public:
  /// Returns 32 random hexadecimal digits, for one use. Empty if the system has no source of
  /// randomness; the failure is logged.
  static std::string GenerateNonce();

  /// Returns the signature of a request in its present state: the HMAC-SHA-256 under `key`, in
  /// lower-case hexadecimal digits, of the lines
  ///
  ///     METHOD "\n" URL "\n" QUERY "\n" FORM "\n" SALT
  ///
  /// QUERY and FORM are the parameters in the order in which they were added, `key=value` joined by
  /// `&`. Names and values are percent-encoded except for letters, digits and `-._~`.
  /// \param salt  may be empty.
  /// \return an empty string on failure, which is logged.
  static std::string CreateSignature(const HttpRequest& request, const std::string& salt,
                                     const std::string& key);
};

}  // namespace saltmoor::utilities

#endif  // SALTMOOR_UTILITIES_SIGNATURE_H_
