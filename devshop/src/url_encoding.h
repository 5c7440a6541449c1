#ifndef DEVSHOP_URL_ENCODING_H_
#define DEVSHOP_URL_ENCODING_H_

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace devshop {

/// Form or query fields in the order sent; a name may repeat.
using Fields = std::vector<std::pair<std::string, std::string>>;

/// Parses `application/x-www-form-urlencoded`. An invalid escape is kept as it is.
Fields ParseFields(std::string_view encoded);

/// The value of the first field of that name; else an empty string.
std::string GetField(const Fields& fields, std::string_view name);

/// Percent-encodes everything but letters, digits and `-._~`.
std::string PercentEncode(std::string_view text);
std::string PercentDecode(std::string_view text);

}  // namespace devshop

#endif  // DEVSHOP_URL_ENCODING_H_
