#ifndef QUIRE_JSON_TEXT_H_
#define QUIRE_JSON_TEXT_H_

#include <json/value.h>

#include <string>

#include "quire_export.h"

namespace saltmoor::quire {

/// Converts a JSON value to a string, as all responses are read: a string unchanged, a boolean as
/// "true" or "false", an integer as its decimal digits (signed 64-bit), everything else (null, a
/// real number, an array, an object) as the empty string. An integer that a JSON reader typed as
/// unsigned counts as signed if it fits; a small unsigned value, which parsing never produces, is
/// empty. Thread-safe; does not throw for any value.
QUIRE_EXPORT std::string ToString(const Json::Value& value);

}  // namespace saltmoor::quire

#endif  // QUIRE_JSON_TEXT_H_
