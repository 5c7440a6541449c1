#ifndef QUIRE_APP_DOWNLOADS_H_
#define QUIRE_APP_DOWNLOADS_H_

#include <string>

#include "session.h"

namespace app {

/// Downloads a bought book with a progress bar and returns when it has ended. Ctrl-C ends the
/// process, except at a prompt: there it moves the download to the background and throws
/// CommandError.
/// \param failure  receives why the download failed; empty on success.
/// \return the path of the book's file; empty on failure.
std::string DownloadBook(Session& session, const store::Book& book, store::Failure* failure);

/// Prints where a downloaded book lies, or why its download failed when `path` is empty.
void ReportDownload(const store::Book& book, const std::string& path,
                    const store::Failure& failure);

/// Reports a background download that has ended in the meantime.
void ReportEndedDownload(Session& session);

/// Waits for a background download with a progress bar, and reports it.
void WaitForBackgroundDownload(Session& session);

}  // namespace app

#endif  // QUIRE_APP_DOWNLOADS_H_
