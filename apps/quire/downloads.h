#ifndef QUIRE_APP_DOWNLOADS_H_
#define QUIRE_APP_DOWNLOADS_H_

#include <string>

#include "session.h"

namespace app {

/// Downloads a bought book with a progress bar and returns when it has ended. Ctrl-C leaves the
/// process, except at a prompt, where it leaves the download to the background and throws
/// CommandError. \param reason  receives why it failed, as far as known. \return the path of the
/// book's file; empty when the download failed.
std::string Download(Session& session, const store::Book& book, std::string* reason);

/// Tells of a background download that has ended meanwhile.
void ReportEndedDownload(Session& session);

/// Waits for a background download, showing its progress.
void WaitForBackgroundDownload(Session& session);

}  // namespace app

#endif  // QUIRE_APP_DOWNLOADS_H_
