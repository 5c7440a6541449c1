#include "switchboard_config.h"

#include "addresses.h"
#include "json.h"
#include "saltmoor/utilities/serialization_utils.h"

namespace saltmoor::quire {
namespace {

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
  const Json::Value& opds = Member(json_, "opdsUrl");
  switch (field) {
    case kPartner:
      return Trimmed(Member(json_, "partner"));
    case kClientId:
      return Trimmed(Member(json_, "clientId"));
    case kShopUrl:
      return Trimmed(Member(json_, "shopUrl"));
    case kShopName:
      return Trimmed(Member(json_, "shopName"));
    case kOpdsStartPage:
      return Trimmed(Member(opds, "OPDSStartPage"));
    case kImpressumUrl:
      return Trimmed(Member(opds, "ImpressumURL"));
    case kAgbUrl:
      return Trimmed(Member(opds, "AGBURL"));
    case kDatenschutzUrl:
      return Trimmed(Member(opds, "DatenschutzURL"));
    case kWiderrufsrechtUrl:
      return Trimmed(Member(opds, "WiderrufsrechtURL"));
    case kHilfeUrl:
      return Trimmed(Member(opds, "HilfeURL"));
    case kStoreApiUrl:
      return addresses::kStoreApi;
    case kStoreId:
      return ParseStoreId(ToString(Member(opds, "OPDSStartPage")));
  }
  return {};
}

}  // namespace saltmoor::quire
