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
  enum Fields {
    kPartner = 0,
    kClientId = 1,
    kShopUrl = 2,
    kShopName = 3,
    kOpdsStartPage = 4,  ///< where the shop's OPDS catalogue begins
    kImpressumUrl = 5,
    kAgbUrl = 6,
    kDatenschutzUrl = 7,
    kWiderrufsrechtUrl = 8,
    kHilfeUrl = 9,
    kStoreApiUrl = 10,  ///< the base of every store call: fixed, whatever the answer
    kStoreId = 11,      ///< the path segment before "/opds/" in the start page
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
