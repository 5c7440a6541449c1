#ifndef QUIRE_USER_DATA_H_
#define QUIRE_USER_DATA_H_

#include <json/value.h>

#include <string>

#include "quire_export.h"

namespace saltmoor::quire {

/// A customer's profile, as the shop sent it. A value type, not thread-safe.
class QUIRE_EXPORT UserData {
 public:
  /// The fields of a profile.
  enum Fields : int {
    kUserId = 0,
    kTitle = 1,  ///< of address, such as "Dr."
    kName = 2,
    kSurname = 3,
    kCompany = 4,
    kStreet = 5,
    kZip = 6,
    kCity = 7,
    kCountry = 8,
    kEmail = 9,
    kPhone = 10,
    kMobile = 11,
    kBirthday = 12,
    kPayMethod = 13,
  };

  /// Wraps a copy of `json`, of any type.
  static UserData FromJson(const Json::Value& json);

  /// The field as ToString converts it; empty when it is missing, and for an unknown field.
  std::string operator[](Fields field) const;

 private:
  Json::Value json_;
};

}  // namespace saltmoor::quire

#endif  // QUIRE_USER_DATA_H_
