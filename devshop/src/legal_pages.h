#ifndef DEVSHOP_LEGAL_PAGES_H_
#define DEVSHOP_LEGAL_PAGES_H_

#include <array>
#include <string>

#include "hosts.h"

namespace devshop {

/// A page that the device's configuration links to.
struct LegalPage {
  const char* configuration_key;  ///< its name in the device's configuration
  const char* name;               ///< its name in the address
  const char* title;
  const char* text;

  std::string Path() const { return kStorePath + "/legal/" + name; }
};

inline constexpr std::array<LegalPage, 5> kLegalPages{{
    {"ImpressumURL", "imprint", "Legal notice",
     "This shop is for development only. It belongs to whoever started it, sells nothing and takes "
     "no money."},
    {"AGBURL", "terms", "Terms and conditions",
     "What you buy here is yours as soon as the order is placed, and costs nothing, whatever the "
     "price says."},
    {"DatenschutzURL", "privacy", "Privacy",
     "What you type stays on this computer: in the shop's memory and, if it was started with "
     "a data directory, in that directory."},
    {"WiderrufsrechtURL", "withdrawal", "Right of withdrawal",
     "Nothing was paid, so there is nothing to pay back. Restart the shop to return every "
     "book."},
    {"HilfeURL", "help", "Help",
     "Log in with an account of the accounts file, or register one. Cards are checked for their "
     "form only: 4111 1111 1111 1111 with any later month and any three digits will do."},
}};

}  // namespace devshop

#endif  // DEVSHOP_LEGAL_PAGES_H_
