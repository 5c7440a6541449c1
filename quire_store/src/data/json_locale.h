#ifndef QUIRE_JSON_LOCALE_H_
#define QUIRE_JSON_LOCALE_H_

#include <locale.h>

#include <string>
#include <string_view>

namespace saltmoor::quire {

// The JSON library reads and writes real numbers in the application's locale, which may want a
// comma where JSON has a point and so lose the rest of a document.

/// The same JSON document with every real number in a form that all locales read alike: 125e-1 for
/// 12.5. What is no number, or a broken one, stays as it is.
std::string WithoutDecimalPoints(std::string_view json);

/// While one exists, this thread formats numbers with a point.
class DecimalPoints {
 public:
  DecimalPoints();
  DecimalPoints(const DecimalPoints&) = delete;
  DecimalPoints& operator=(const DecimalPoints&) = delete;
  ~DecimalPoints();

 private:
  const locale_t application_locale_;
};

}  // namespace saltmoor::quire

#endif  // QUIRE_JSON_LOCALE_H_
