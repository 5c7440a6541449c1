#ifndef DEVSHOP_FOLD_CASE_H_
#define DEVSHOP_FOLD_CASE_H_

#include <string>

namespace devshop {

/// Lower case of UTF-8, for comparison; uses the LC_CTYPE locale. Other bytes are returned as sent.
std::string FoldCase(const std::string& utf8);

}  // namespace devshop

#endif  // DEVSHOP_FOLD_CASE_H_
