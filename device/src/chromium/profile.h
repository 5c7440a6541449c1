/// \file
/// A browser profile for one payment.

#ifndef DEVICE_CHROMIUM_PROFILE_H_
#define DEVICE_CHROMIUM_PROFILE_H_

#include <filesystem>

namespace chromium {

/// A new directory, removed by the destructor. The functions throw std::runtime_error with one
/// sentence for the user.
class Profile {
 public:
  Profile();
  ~Profile();
  Profile(const Profile&) = delete;
  Profile& operator=(const Profile&) = delete;

  const std::filesystem::path& directory() const { return directory_; }

  /// Adds certificate authorities for a Chromium whose HOME is the directory.
  /// \param ca_file  certificates in PEM.
  void AddTrustedAuthorities(const std::filesystem::path& ca_file);

 private:
  std::filesystem::path directory_;
};

}  // namespace chromium

#endif  // DEVICE_CHROMIUM_PROFILE_H_
