#ifndef QUIRE_BASE_NAME_H_
#define QUIRE_BASE_NAME_H_

#include <string>

namespace saltmoor::quire {

/// The part of a path or an address after its last '/'; all of it when it has none.
inline std::string BaseName(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

}  // namespace saltmoor::quire

#endif  // QUIRE_BASE_NAME_H_
