#ifndef QUIRE_DECIMAL_TEXT_H_
#define QUIRE_DECIMAL_TEXT_H_

#include <locale.h>

#include <string>

namespace saltmoor::quire {

// Decimal numbers as text with a point, whatever the application's locale.

/// The number at the beginning of a text, as strtod reads it; 0 when there is none or it is not
/// finite, as no amount is.
double NumberFromText(const std::string& text);

/// Six significant digits without trailing zeros, an exponent where the number is large: "12.99",
/// "12345.7", "1e+06".
std::string TextFromNumber(double number);

/// The locale of programs that set none; lives as long as the process.
locale_t CLocale();

}  // namespace saltmoor::quire

#endif  // QUIRE_DECIMAL_TEXT_H_
