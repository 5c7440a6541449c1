#ifndef DEVSHOP_HOSTS_H_
#define DEVSHOP_HOSTS_H_

#include <array>
#include <string>

/// The hosts and paths under which clients reach the shop, whatever port it listens on.
namespace devshop {

inline const std::string kShopHost = QUIRE_SHOP_HOST;
inline const std::string kConfigHost = QUIRE_CONFIG_HOST;
inline const std::string kReturnHost = QUIRE_RETURN_HOST;
inline const std::string kShopUrl = "https://" + kShopHost;

inline const std::string kShopName = "Quire Books";
inline const std::string kStoreId = "4711";
inline const std::string kStorePath = "/de/" + kStoreId;
inline const std::string kOpdsPath = kStorePath + "/opds/";
inline const std::string kStartPath = kOpdsPath + "start";
inline const std::string kTitlesPath = kOpdsPath + "titles";
inline const std::string kLanguagesPath = kOpdsPath + "languages";
inline const std::string kFormatsPath = kOpdsPath + "formats";
inline const std::string kSearchDescriptionPath = kOpdsPath + "search.xml";
inline const std::string kProductPath = kStorePath + "/product/";
inline const std::string kCoversPath = "/covers/";
inline const std::string kFilesPath = "/files/";
inline const std::string kPaymentPath = "/payment/";
inline const std::string kApiPath = "/webapp/wcs/stores/servlet";
inline const std::string kReturnPath = "/QUIRESaltmoor";

/// A page that the device's configuration links to.
struct LegalPage {
  const char* configuration_key;
  std::string path;
  const char* title;
};

inline const std::array<LegalPage, 5> kLegalPages{{
    {"ImpressumURL", kStorePath + "/legal/imprint", "Legal notice"},
    {"AGBURL", kStorePath + "/legal/terms", "Terms and conditions"},
    {"DatenschutzURL", kStorePath + "/legal/privacy", "Privacy"},
    {"WiderrufsrechtURL", kStorePath + "/legal/withdrawal", "Right of withdrawal"},
    {"HilfeURL", kStorePath + "/legal/help", "Help"},
}};

}  // namespace devshop

#endif  // DEVSHOP_HOSTS_H_
