#ifndef QUIRE_JSON_TEXT_H_
#define QUIRE_JSON_TEXT_H_

#include <json/value.h>

#include <string>

#include "quire_export.h"

namespace saltmoor::quire {

/// The text of a JSON value, the one conversion that the whole library reads answers with: a string
/// as it is, a boolean as "true" or "false", an integer as its decimal digits (signed 64-bit), and
/// everything else (null, a real number, an array, an object) as the empty text. Prices and ids are
/// expected as strings or integers.
///
/// An integer that a JSON reader typed as unsigned counts as signed as long as it fits; a small
/// unsigned value, which no reader makes, is empty. Never throws for any value. Any thread.
QUIRE_EXPORT std::string ToString(const Json::Value& value);

}  // namespace saltmoor::quire

#endif  // QUIRE_JSON_TEXT_H_
