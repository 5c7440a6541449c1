#ifndef TESTS_SYSTEM_ON_DEVICE_H_
#define TESTS_SYSTEM_ON_DEVICE_H_

#include <unistd.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "store_manager.h"

/// What the system tests ask of the device that they run on.
namespace on_device {

inline constexpr char kUser[] = "anna@quire.example";
inline constexpr char kPassword[] = "secret";
inline constexpr char kDownloads[] = "/mnt/ext1/Downloads";

inline bool Exists(const std::string& path) {
  return access(path.c_str(), F_OK) == 0;
}

inline std::string Content(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

inline std::string Ean(const saltmoor::quire::Book& book) {
  return book.string_props.at(saltmoor::quire::Book::kEan);
}

/// Polls until `done`, as an application does. False when it was not within the limit.
template <typename Done>
bool Wait(Done done, std::chrono::seconds limit = std::chrono::seconds(30)) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    usleep(20'000);
  }
  return true;
}

inline bool FinishDownload(saltmoor::quire::StoreManager& manager,
                           std::chrono::seconds limit = std::chrono::seconds(30)) {
  return Wait([&] { return manager.CheckDownloadState() == 0; }, limit);
}

/// The first bought book of a format.
inline const saltmoor::quire::Book& Bought(const saltmoor::quire::StoreManager& manager,
                                           const std::string& format) {
  for (const auto& book : manager.GetPurchased()) {
    if (book.string_props.at(saltmoor::quire::Book::kEbookFormat) == format) return book;
  }
  throw std::runtime_error("the account has no " + format);
}

}  // namespace on_device

#endif  // TESTS_SYSTEM_ON_DEVICE_H_
