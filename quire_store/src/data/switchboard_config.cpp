#include "switchboard_config.h"

#include <iterator>

#include "addresses.h"
#include "json.h"
#include "saltmoor/utilities/serialization_utils.h"

namespace saltmoor::quire {
namespace {

// By the value of SwitchboardConfig::Fields; those from kOpdsStartPage are inside "opdsUrl".
constexpr const char* kKeys[] = {
    "partner",      "clientId", "shopUrl",        "shopName",          "OPDSStartPage",
    "ImpressumURL", "AGBURL",   "DatenschutzURL", "WiderrufsrechtURL", "HilfeURL",
};

std::string Trimmed(const Json::Value& value) {
  return utilities::SerializationUtils::trim(ToString(value));
}

// The path segment before the first "/opds/".
std::string ParseStoreId(const std::string& start_page) {
  const std::size_t end = start_page.find("/opds/");
  if (end == std::string::npos || end == 0) return {};
  const std::size_t begin = start_page.rfind('/', end - 1) + 1;
  return start_page.substr(begin, end - begin);
}

}  // namespace

SwitchboardConfig SwitchboardConfig::Parse(const Json::Value& json) {
  SwitchboardConfig config;
  config.json_ = json;
  return config;
}

Json::Value SwitchboardConfig::ToJson() const {
  return json_;
}

std::string SwitchboardConfig::operator[](Fields field) const {
  const Json::Value& opds = GetMember(json_, "opdsUrl");
  const auto index = static_cast<unsigned>(field);
  if (index < std::size(kKeys)) {
    return Trimmed(GetMember(index < kOpdsStartPage ? json_ : opds, kKeys[index]));
  }
  if (field == kStoreApiUrl) return addresses::kStoreApi;
  return field == kStoreId ? ParseStoreId(ToString(GetMember(opds, "OPDSStartPage")))
                           : std::string();
}

}  // namespace saltmoor::quire
