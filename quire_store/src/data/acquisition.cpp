#include "acquisition.h"

#include <cstdlib>
#include <memory>

#include "file_names.h"
#include "tabulet.h"

namespace OPDS {

IndirectAcquisition::IndirectAcquisition(const AttributeMap& attributes) : Object(kKind) {
  const auto found = attributes.find("type");
  if (found != attributes.end()) type = found->second;
}

bool IndirectAcquisition::addChild(Object* child) {
  if (child == nullptr || child->kind != kKind) return false;
  children.push_back(static_cast<IndirectAcquisition*>(child));
  return true;
}

}  // namespace OPDS

namespace saltmoor::quire {
namespace {

constexpr std::size_t kMaxFormat_bytes = 63;

std::string UpperCase(const std::string& text) {
  const std::string cut = text.substr(0, kMaxFormat_bytes);
  int length = 0;
  const std::unique_ptr<char, decltype(&std::free)> upper(utf_toupper_ext(cut.c_str(), &length),
                                                          &std::free);
  return upper && length > 0 ? std::string(upper.get()).substr(0, kMaxFormat_bytes) : cut;
}

}  // namespace

// Compatibility: the flag is never reset.
void MakeFormat(std::stringstream& out, bool& has_acsm,
                const boost::ptr_vector<OPDS::IndirectAcquisition>& items) {
  for (const OPDS::IndirectAcquisition& item : items) {
    const std::string extension = ExtentionByMime(item.type);
    if (extension == "acsm") {
      has_acsm = true;
    } else if (!extension.empty()) {
      out.seekp(0, std::ios::end);  // a stream that was constructed with text would overwrite it
      if (!out.str().empty()) out << ',';
      out << UpperCase(extension);
    }
    MakeFormat(out, has_acsm, item.children);
  }
}

}  // namespace saltmoor::quire
