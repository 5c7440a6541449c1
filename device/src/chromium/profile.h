/// \file
/// A browser profile that lives as long as one payment.

#ifndef DEVICE_CHROMIUM_PROFILE_H_
#define DEVICE_CHROMIUM_PROFILE_H_

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace chromium {

/// The browser cannot run. The text is one sentence for people.
struct BrowserError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// A fresh folder, removed in the end. Throws BrowserError.
class Profile {
 public:
  Profile();
  ~Profile();
  Profile(const Profile&) = delete;
  Profile& operator=(const Profile&) = delete;

  const std::filesystem::path& folder() const { return folder_; }

  /// Has a Chromium whose HOME is the folder trust these authorities too.
  /// \param ca_file  certificates in PEM.
  void Trust(const std::filesystem::path& ca_file);

 private:
  std::filesystem::path folder_;
};

/// Runs a program and waits. \return its exit code, 127 when there is none.
int Run(const std::vector<std::string>& command);

/// Replaces this process with a program. Returns when that is not possible.
void Exec(const std::vector<std::string>& command);

}  // namespace chromium

#endif  // DEVICE_CHROMIUM_PROFILE_H_
