#ifndef TESTS_CONTRACT_SUPPORT_WORKSHOP_H_
#define TESTS_CONTRACT_SUPPORT_WORKSHOP_H_

#include <string>

#include "tests/contract/support/certificates.h"

namespace testing_support {

/// What the process's tests share: a folder, an authority that the platform trusts, and the log.
class Workshop {
 public:
  static const Workshop& Instance();

  const std::string& folder() const { return folder_; }
  const Certificate& authority() const { return authority_; }
  /// Everything logged so far.
  std::string Log() const;

 private:
  friend class WorkshopEnvironment;
  Workshop();
  std::string folder_;
  Certificate authority_;
};

std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& content);

/// Bytes of which no stretch occurs twice, so that one at the wrong place shows.
std::string UniqueBytes(std::size_t size);

}  // namespace testing_support

#endif  // TESTS_CONTRACT_SUPPORT_WORKSHOP_H_
