#ifndef QUIRE_ADDRESSES_H_
#define QUIRE_ADDRESSES_H_

#include "hosts.h"

/// The web addresses that the library contains.
namespace saltmoor::quire::addresses {

inline constexpr char kStoreApi[] = "https://" QUIRE_SHOP_HOST "/webapp/wcs/stores/servlet";
inline constexpr char kSwitchboard[] =
    "http://" QUIRE_CONFIG_HOST "/api/config/v1/get-device-opds-config";

// A payment page returns to one of these addresses, which Auth recognises by the marker. The marker
// is a macro because only literals can be concatenated.
#define QUIRE_RETURN_MARKER "QUIRESaltmoor"
inline constexpr char kReturnMarker[] = QUIRE_RETURN_MARKER;
inline constexpr char kPaymentSuccess[] =
    "http://" QUIRE_RETURN_HOST "/" QUIRE_RETURN_MARKER "?status=success";
inline constexpr char kPaymentCancel[] =
    "http://" QUIRE_RETURN_HOST "/" QUIRE_RETURN_MARKER "?status=cancel";
#undef QUIRE_RETURN_MARKER

}  // namespace saltmoor::quire::addresses

#endif  // QUIRE_ADDRESSES_H_
