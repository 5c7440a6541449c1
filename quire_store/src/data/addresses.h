#ifndef QUIRE_ADDRESSES_H_
#define QUIRE_ADDRESSES_H_

#include "hosts.h"

/// Every web address that the library knows by itself.
namespace saltmoor::quire::addresses {

inline constexpr char kStoreApi[] = "https://" QUIRE_SHOP_HOST "/webapp/wcs/stores/servlet";
inline constexpr char kSwitchboard[] =
    "http://" QUIRE_CONFIG_HOST "/api/config/v1/get-device-opds-config";

// Where a payment page sends the browser in the end; Auth knows them by the marker, a macro since
// only literals join.
#define QUIRE_RETURN_MARKER "QUIRESaltmoor"
inline constexpr char kReturnMarker[] = QUIRE_RETURN_MARKER;
inline constexpr char kPaymentSuccess[] =
    "http://" QUIRE_RETURN_HOST "/" QUIRE_RETURN_MARKER "?status=success";
inline constexpr char kPaymentCancel[] =
    "http://" QUIRE_RETURN_HOST "/" QUIRE_RETURN_MARKER "?status=cancel";
#undef QUIRE_RETURN_MARKER

}  // namespace saltmoor::quire::addresses

#endif  // QUIRE_ADDRESSES_H_
