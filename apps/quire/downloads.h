#ifndef QUIRE_APP_DOWNLOADS_H_
#define QUIRE_APP_DOWNLOADS_H_

#include <string>
#include <vector>

#include "session.h"

namespace app {

/// Which of several downloads of a command one is.
struct DownloadCount {
  std::size_t number = 1;  ///< counted from 1
  std::size_t total = 1;
};

struct DownloadResult {
  std::string path;        ///< of the book's file; empty on failure
  store::Failure failure;  ///< empty on success
  double seconds = 0;      ///< how long it took
};

/// Downloads a bought book with a progress bar and returns when it has ended. Ctrl-C ends the
/// process, except at a prompt: there it moves the download to the background and throws
/// CommandError.
DownloadResult DownloadBook(Session& session, const store::Book& book, const DownloadCount& count);

/// Prints where a downloaded book lies, or why its download failed.
void ReportDownload(const store::Book& book, const DownloadResult& result);

/// Remembers that the user wants these books, until RemovePending: in the next process, too.
void AddPending(Session& session, const std::vector<store::Book>& books);
void RemovePending(Session& session, const store::Book& book);

/// The EANs of the books that are left.
std::vector<std::string> ListPending(Session& session);

/// Reports a background download that has ended in the meantime.
void ReportEndedDownload(Session& session);

/// Waits for a background download with a progress bar, and reports it.
void WaitForBackgroundDownload(Session& session);

}  // namespace app

#endif  // QUIRE_APP_DOWNLOADS_H_
