/// \file
/// A temporary directory on the device under test, and its files.

#ifndef TESTS_CONTRACT_SUPPORT_TEMPORARY_DIRECTORY_H_
#define TESTS_CONTRACT_SUPPORT_TEMPORARY_DIRECTORY_H_

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <stdexcept>
#include <string>

#include "this_device.h"

inline std::string ReadAll(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteAll(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

/// Random bytes without repetitions, so that a misplaced part is noticed.
inline std::string UniqueBytes(std::size_t size) {
  std::mt19937_64 random(20240229);
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

/// A temporary directory on the device, removed by the destructor.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string name = std::string(this_device::kDirectory) + "/contract-XXXXXX";
    if (!mkdtemp(name.data())) {
      throw std::runtime_error("cannot create " + name + ": run the test on a device");
    }
    path_ = name;
  }
  ~TemporaryDirectory() { std::filesystem::remove_all(path_); }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  std::string operator/(const std::string& name) const { return path_ + "/" + name; }
  const std::string& path() const { return path_; }

  std::set<std::string> Names() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
      names.insert(entry.path().filename());
    }
    return names;
  }

 private:
  std::string path_;
};

#endif  // TESTS_CONTRACT_SUPPORT_TEMPORARY_DIRECTORY_H_
