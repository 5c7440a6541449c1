#include "title.h"

#include <boost/algorithm/string/case_conv.hpp>
#include <locale>

namespace devshop {

std::string Title::CoverType() const {
  if (cover.ends_with(".svg")) return "image/svg+xml";
  return cover.ends_with(".jpg") || cover.ends_with(".jpeg") ? "image/jpeg" : "image/png";
}

std::string FormatName(const std::string& format) {
  return boost::algorithm::to_upper_copy(format, std::locale::classic());
}

}  // namespace devshop
