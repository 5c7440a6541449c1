#include "search_text.h"

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

namespace app {
namespace {

/// Marks of a lower class are letters' own, such as the voicing of kana or the virama.
constexpr int kMinAccentClass = 10;

using Form = const icu::Normalizer2* (*)(UErrorCode&);

/// The text itself if ICU has no data for the form.
icu::UnicodeString Normalize(Form form, const icu::UnicodeString& text) {
  UErrorCode error = U_ZERO_ERROR;
  const icu::Normalizer2* const normalizer = form(error);
  if (U_FAILURE(error)) return text;
  icu::UnicodeString normalized = normalizer->normalize(text, error);
  return U_FAILURE(error) ? text : normalized;
}

icu::UnicodeString FromUtf8(std::string_view text) {
  return icu::UnicodeString::fromUTF8(
      icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
}

/// The locale that the environment names for ordering; the root for "C" and "POSIX".
icu::Locale UserLocale() {
  for (const char* name : {"LC_ALL", "LC_COLLATE", "LANG"}) {
    const char* const value = std::getenv(name);
    if (value == nullptr || *value == '\0') continue;
    const std::string_view locale = value;
    const bool is_plain = locale == "POSIX" || locale == "C" || locale.starts_with("C.");
    return is_plain ? icu::Locale::getRoot() : icu::Locale::createFromName(value);
  }
  return icu::Locale::getRoot();
}

}  // namespace

std::string FoldForSearch(std::string_view text) {
  const auto folded = Normalize(&icu::Normalizer2::getNFKCCasefoldInstance, FromUtf8(text));
  const auto decomposed = Normalize(&icu::Normalizer2::getNFDInstance, folded);
  icu::UnicodeString bare;
  for (std::int32_t i = 0; i < decomposed.length(); i = decomposed.moveIndex32(i, 1)) {
    const UChar32 character = decomposed.char32At(i);
    if (u_getCombiningClass(character) < kMinAccentClass) bare.append(character);
  }
  std::string out;
  return bare.toUTF8String(out);
}

std::vector<std::string> FoldWords(std::string_view text) {
  std::istringstream in(FoldForSearch(text));
  std::vector<std::string> words;
  for (std::string word; in >> word;) words.push_back(word);
  return words;
}

std::vector<std::string> FoldLanguageNames(const std::string& code) {
  const icu::Locale language(code.c_str());
  std::vector<std::string> names{FoldForSearch(code), FoldForSearch(language.getLanguage())};
  for (const icu::Locale& in : {icu::Locale::getEnglish(), language, UserLocale()}) {
    icu::UnicodeString name;
    std::string utf8;
    names.push_back(FoldForSearch(language.getDisplayLanguage(in, name).toUTF8String(utf8)));
  }
  return names;
}

struct Collation::Collator {
  std::unique_ptr<icu::Collator> collator;
};

Collation::Collation() : collator_(std::make_unique<Collator>()) {
  UErrorCode error = U_ZERO_ERROR;
  collator_->collator.reset(icu::Collator::createInstance(UserLocale(), error));
  if (U_FAILURE(error)) collator_->collator.reset();
}

Collation::~Collation() = default;

std::string Collation::SortKey(std::string_view text) const {
  if (!collator_->collator) return FoldForSearch(text);
  const icu::UnicodeString unicode = FromUtf8(text);
  const std::int32_t size = collator_->collator->getSortKey(unicode, nullptr, 0);
  std::string key(static_cast<std::size_t>(std::max(size, 0)), '\0');
  collator_->collator->getSortKey(unicode, reinterpret_cast<std::uint8_t*>(key.data()), size);
  return key;
}

}  // namespace app
