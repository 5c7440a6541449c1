#include "decimal_text.h"

#include <cmath>
#include <cstdlib>
#include <locale>
#include <sstream>

namespace saltmoor::quire {

double NumberFromText(const std::string& text) {
  const double number = strtod_l(text.c_str(), nullptr, CLocale());
  return std::isfinite(number) ? number : 0.0;
}

std::string TextFromNumber(double number) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out << number;
  return out.str();
}

locale_t CLocale() {
  static const locale_t c_locale = newlocale(LC_ALL_MASK, "C", nullptr);
  return c_locale;
}

}  // namespace saltmoor::quire
