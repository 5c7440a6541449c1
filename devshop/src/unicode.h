#ifndef DEVSHOP_UNICODE_H_
#define DEVSHOP_UNICODE_H_

#include <string>

/// Text as readers expect it, in UTF-8. Bytes that are not UTF-8 count as U+FFFD. Thread-safe.
namespace devshop {

/// Strings that differ only in case are equal when folded.
std::string FoldCase(const std::string& utf8);

/// Strings that differ only in case, accents and width are equal when folded.
std::string FoldForSearch(const std::string& utf8);

/// The English name of a language, such as "German" for "de"; the code itself when it is unknown.
std::string LanguageName(const std::string& code);

/// Strings compare by their bytes as their keys' originals do in the Unicode collation order.
std::string CollationKey(const std::string& utf8);

}  // namespace devshop

#endif  // DEVSHOP_UNICODE_H_
