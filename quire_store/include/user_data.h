#ifndef QUIRE_USER_DATA_H_
#define QUIRE_USER_DATA_H_

#include <json/value.h>

#include <string>

#include "quire_export.h"

namespace saltmoor::quire {

/// A customer's profile, as the shop sent it. A plain value: an object belongs on one thread at a
/// time.
class QUIRE_EXPORT UserData {
 public:
  /// What a profile holds; each as the shop writes it.
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

  /// Wraps a copy of `json`, whatever it is.
  static UserData FromJson(const Json::Value& json);

  /// The field's text; empty when it is missing, of a type without text, or when there is no such
  /// field.
  std::string operator[](Fields field) const;

 private:
  Json::Value json_;
};

}  // namespace saltmoor::quire

#endif  // QUIRE_USER_DATA_H_
