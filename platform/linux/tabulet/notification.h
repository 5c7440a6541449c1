#ifndef PLATFORM_LINUX_TABULET_NOTIFICATION_H_
#define PLATFORM_LINUX_TABULET_NOTIFICATION_H_

#include <string>

namespace saltmoor::platform {

/// Shows a notification on the desktop, if there is one, and returns without waiting for it.
/// \param icon  a name in the desktop's icon theme.
void NotifyDesktop(const std::string& icon, const std::string& title, const std::string& text,
                   int timeout_ms);

}  // namespace saltmoor::platform

#endif  // PLATFORM_LINUX_TABULET_NOTIFICATION_H_
