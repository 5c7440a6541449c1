#ifndef QUIRE_SWITCHBOARD_CONFIG_H_
#define QUIRE_SWITCHBOARD_CONFIG_H_

#include <json/value.h>

#include <string>

#include "quire_export.h"

namespace saltmoor::quire {

/// Which shop this device belongs to, as the device maker's configuration service (the switchboard)
/// answered. A plain value: an object belongs on one thread at a time.
class QUIRE_EXPORT SwitchboardConfig {
 public:
  /// What the configuration holds. Addresses are absolute.
  enum Fields : int {
    kPartner = 0,
    kClientId = 1,           ///< of this device's shop
    kShopUrl = 2,            ///< the shop's web site
    kShopName = 3,           ///< for display
    kOpdsStartPage = 4,      ///< where the shop's OPDS catalogue begins
    kImpressumUrl = 5,       ///< the legal notice
    kAgbUrl = 6,             ///< terms and conditions
    kDatenschutzUrl = 7,     ///< privacy
    kWiderrufsrechtUrl = 8,  ///< right of withdrawal
    kHilfeUrl = 9,           ///< help
    kStoreApiUrl = 10,       ///< the base of every store call: fixed, whatever the answer
    kStoreId = 11,           ///< the path segment before "/opds/" in the start page
  };

  /// Wraps a copy of `json`, whatever it is.
  static SwitchboardConfig Parse(const Json::Value& json);

  /// A copy of what Parse was given; null when there was nothing.
  Json::Value ToJson() const;

  /// The field's text; empty when it is missing or no text, or when there is no such field.
  std::string operator[](Fields field) const;

 private:
  Json::Value json_;
};

}  // namespace saltmoor::quire

#endif  // QUIRE_SWITCHBOARD_CONFIG_H_
