#include "unicode.h"

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <memory>
#include <stdexcept>

namespace devshop {
namespace {

void Check(UErrorCode error) {
  if (U_FAILURE(error)) throw std::runtime_error(std::string("ICU: ") + u_errorName(error));
}

icu::UnicodeString Normalize(const icu::Normalizer2* (*form)(UErrorCode&),
                             const icu::UnicodeString& text) {
  UErrorCode error = U_ZERO_ERROR;
  const icu::Normalizer2* normalizer = form(error);
  Check(error);
  icu::UnicodeString normalized = normalizer->normalize(text, error);
  Check(error);
  return normalized;
}

std::unique_ptr<icu::Collator> OpenCollator() {
  UErrorCode error = U_ZERO_ERROR;
  std::unique_ptr<icu::Collator> collator(
      icu::Collator::createInstance(icu::Locale::getRoot(), error));
  Check(error);
  return collator;
}

}  // namespace

std::string FoldCase(const std::string& utf8) {
  std::string folded;
  return icu::UnicodeString::fromUTF8(utf8).foldCase().toUTF8String(folded);
}

std::string FoldForSearch(const std::string& utf8) {
  const auto folded =
      Normalize(icu::Normalizer2::getNFKCCasefoldInstance, icu::UnicodeString::fromUTF8(utf8));
  const auto decomposed = Normalize(icu::Normalizer2::getNFDInstance, folded);
  icu::UnicodeString bare;
  for (int32_t i = 0; i < decomposed.length(); i = decomposed.moveIndex32(i, 1)) {
    const UChar32 character = decomposed.char32At(i);
    if (u_charType(character) != U_NON_SPACING_MARK) bare.append(character);
  }
  std::string text;
  return bare.toUTF8String(text);
}

std::string LanguageName(const std::string& code) {
  std::string name;
  icu::UnicodeString text;
  return icu::Locale(code.c_str())
      .getDisplayLanguage(icu::Locale::getEnglish(), text)
      .toUTF8String(name);
}

std::string CollationKey(const std::string& utf8) {
  static const auto collator = OpenCollator();
  const auto text = icu::UnicodeString::fromUTF8(utf8);
  std::string key(static_cast<std::size_t>(collator->getSortKey(text, nullptr, 0)), '\0');
  collator->getSortKey(text, reinterpret_cast<uint8_t*>(key.data()),
                       static_cast<int32_t>(key.size()));
  return key;
}

}  // namespace devshop
