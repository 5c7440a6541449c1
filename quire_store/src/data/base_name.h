#ifndef QUIRE_BASE_NAME_H_
#define QUIRE_BASE_NAME_H_

#include <string>

namespace saltmoor::quire {

/// (In file_names.cpp.) The part of a path or an address after its last '/'; the whole of it when
/// it has none.
std::string BaseName(const std::string& path);

}  // namespace saltmoor::quire

#endif  // QUIRE_BASE_NAME_H_
