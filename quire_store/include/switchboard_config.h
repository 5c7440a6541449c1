#ifndef QUIRE_SWITCHBOARD_CONFIG_H_
#define QUIRE_SWITCHBOARD_CONFIG_H_

#include <json/value.h>

#include <string>

#include "quire_export.h"

namespace saltmoor::quire {

/// The shop that this device belongs to, as the device maker's configuration service (the
/// switchboard) answered. A value type, not thread-safe.
class QUIRE_EXPORT SwitchboardConfig {
 public:
  /// The fields of the configuration. Addresses are absolute.
  enum Fields : int {
    kPartner = 0,
    kClientId = 1,           ///< of this device's shop
    kShopUrl = 2,            ///< the shop's web site
    kShopName = 3,           ///< for display
    kOpdsStartPage = 4,      ///< the start of the shop's OPDS catalogue
    kImpressumUrl = 5,       ///< the legal notice
    kAgbUrl = 6,             ///< terms and conditions
    kDatenschutzUrl = 7,     ///< privacy
    kWiderrufsrechtUrl = 8,  ///< right of withdrawal
    kHilfeUrl = 9,           ///< help
    kStoreApiUrl = 10,       ///< the base of every store call; does not depend on the response
    kStoreId = 11,           ///< the path segment before "/opds/" in the start page
  };

  /// Wraps a copy of `json`, of any type.
  static SwitchboardConfig Parse(const Json::Value& json);

  /// A copy of the value that Parse wrapped; null by default.
  Json::Value ToJson() const;

  /// The field as a string, without surrounding white space; empty when it is missing or of another
  /// type, and for an unknown field.
  std::string operator[](Fields field) const;

 private:
  Json::Value json_;
};

}  // namespace saltmoor::quire

#endif  // QUIRE_SWITCHBOARD_CONFIG_H_
