#ifndef DEVSHOP_CARD_CHECK_H_
#define DEVSHOP_CARD_CHECK_H_

#include <ctime>
#include <map>
#include <string>

#include "text.h"

namespace devshop {

/// Checks the fields of a card form: card_holder, card_number (digits, Luhn), card_expiry (MM/YY,
/// not past), card_cvc. Gives what is wrong by field name; empty when the card can be charged.
std::map<std::string, std::string> CheckCard(const Fields& form, std::time_t now);

}  // namespace devshop

#endif  // DEVSHOP_CARD_CHECK_H_
