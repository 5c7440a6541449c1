#ifndef QUIRE_FAILURE_H_
#define QUIRE_FAILURE_H_

#include <string>

namespace saltmoor::quire {

/// Why a call failed. A value type; the values of the kinds are fixed.
struct Failure {
  /// What failed.
  enum Kind : int {
    kNone = 0,            ///< nothing failed
    kConfigFile,          ///< the device's configuration file cannot be opened
    kNoCredentials,       ///< no credentials are stored: StoreManager::NewSession
    kNetwork,             ///< no response came: see transport_error
    kHttpStatus,          ///< the server answered http_status instead of 200
    kUnreadableResponse,  ///< status 200, but not the JSON that the call answers with
    kRefused,             ///< the shop refused; its message may be empty
    kNoPaymentPage,       ///< the shop named no payment page
    kBrowser,             ///< the device's browser could not be run, or failed
    kPaymentFailed,       ///< the shop reports that the payment failed or is in progress
    kNoPendingOrder,      ///< StoreManager::CheckOrderIfNeeded without an order
    kDownload,            ///< a download failed: see the other members, where they are known
    kNotABook,            ///< the downloaded file is no book and was removed
    kNotSaved,            ///< the file `path` was not written: see system_error
  };

  Kind kind = kNone;        ///< what failed
  int transport_error = 0;  ///< the platform's number; 0 when there is none
  int http_status = 0;      ///< 0 when there is none
  std::string message;      ///< the shop's message or the device's; mostly empty
  std::string path{};       ///< the file that was not saved; empty otherwise
  int system_error = 0;     ///< errno; 0 when there is none or it is not known

  /// Whether something failed.
  explicit operator bool() const { return kind != kNone; }
};

}  // namespace saltmoor::quire

#endif  // QUIRE_FAILURE_H_
