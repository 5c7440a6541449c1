#include "fold_case.h"

#include <boost/locale/encoding_utf.hpp>
#include <cwctype>

namespace devshop {

std::string FoldCase(const std::string& utf8) {
  using boost::locale::conv::utf_to_utf;
  try {
    std::wstring letters = utf_to_utf<wchar_t>(utf8, boost::locale::conv::stop);
    for (wchar_t& letter : letters)
      letter = static_cast<wchar_t>(std::towlower(std::wint_t(letter)));
    return utf_to_utf<char>(letters);
  } catch (const boost::locale::conv::conversion_error&) {
    return utf8;
  }
}

}  // namespace devshop
