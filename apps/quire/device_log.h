#ifndef QUIRE_APP_DEVICE_LOG_H_
#define QUIRE_APP_DEVICE_LOG_H_

#include <string>
#include <vector>

namespace app {

/// Sends the platform's log to a file unless the user chose a place, so that the screen stays
/// clean. Before the first call of the library.
void KeepLogOffTheScreen();

/// Shows the log on the screen, up to `level`. Before the first call of the library.
void ShowLog(int level);

/// The log's path; empty when it is shown on the screen.
std::string LogPath();

/// What the platform's log gains from the making of this object on. The library tells its caller
/// that something failed; only the log knows why.
class DeviceLog {
 public:
  DeviceLog();

  /// Whether the log can be looked at and holds every failure.
  bool IsComplete() const;

  /// The platform's last explanation, fit to print; empty when there is none.
  std::string Explanation() const;

  /// The same, as " (it)" to put into a sentence.
  std::string Reason() const;

  /// Whether a record, the function that wrote it included, contains `text`.
  bool Contains(const std::string& text) const;

 private:
  std::vector<std::string> Records() const;

  std::string path_;
  long long start_bytes_ = 0;
};

}  // namespace app

#endif  // QUIRE_APP_DEVICE_LOG_H_
