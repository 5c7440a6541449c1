#include "user_data.h"

#include <iterator>

#include "json.h"

namespace saltmoor::quire {
namespace {

// By the value of UserData::Fields.
constexpr const char* kKeys[] = {
    "userId", "title",   "name",  "surname", "company", "street",   "zip",
    "city",   "country", "email", "phone",   "mobile",  "birthday", "payMethod",
};

}  // namespace

UserData UserData::FromJson(const Json::Value& json) {
  UserData data;
  data.json_ = json;
  return data;
}

std::string UserData::operator[](Fields field) const {
  const auto index = static_cast<unsigned>(field);
  return index < std::size(kKeys) ? ToString(GetMember(json_, kKeys[index])) : std::string();
}

}  // namespace saltmoor::quire
