#include "downloads.h"

#include <chrono>
#include <cstdlib>
#include <thread>

#include "book_place.h"
#include "book_view.h"
#include "command_error.h"
#include "commands.h"
#include "device_log.h"
#include "interrupts.h"
#include "screen.h"
#include "text.h"

namespace app {
namespace {

constexpr std::chrono::milliseconds kBetweenPolls{100};

/// Returns when the running download has ended, or at Ctrl-C: then false.
bool WaitForDownload(store::StoreManager& manager, const store::Book& book) {
  const InterruptCatcher interrupts;
  const Screen& screen = Screen::Err();
  const std::string ean = GetString(book, store::Book::kEan);
  const std::string title = MakePrintable(DisplayTitle(book));
  while (true) {
    screen.ReplaceLine("");  // the device may have something to say about the end
    if (manager.CheckDownloadState() == 0) return true;
    if (InterruptCatcher::Caught()) return false;
    const int percent = manager.GetBookStatus(ean).progress;
    screen.ReplaceLine(ProgressLine(title, percent, screen.Width() - 1));
    std::this_thread::sleep_for(kBetweenPolls);
  }
}

[[noreturn]] void ExitDuringDownload(const store::Book& book) {
  PrintError("Stopped. What has arrived of " + QuoteTitle(DisplayTitle(book)) +
             " is kept; the next download goes on from there.");
  Screen::Out().Write("");
  std::_Exit(kInterrupted);  // an ordinary end would wait for the download
}

void ReportDownload(const store::Book& book) {
  const std::string path = FindFile(book, true);
  if (path.empty()) {
    PrintError(QuoteTitle(DisplayTitle(book)) + " could not be downloaded. Try again later.");
  } else {
    Screen::Out().PrintLine(QuoteTitle(DisplayTitle(book)) + " has arrived:");
    Screen::Out().PrintPath(path);
  }
}

}  // namespace

std::string Download(Session& session, const store::Book& book, std::string* reason) {
  WaitForBackgroundDownload(session);  // a book queued beside a running one would be forgotten
  store::StoreManager& manager = session.Store();
  const DeviceLog log;
  manager.DownloadBookById(GetString(book, store::Book::kEan));
  if (!WaitForDownload(manager, book)) {
    if (session.mode() != Session::Mode::kPrompt) ExitDuringDownload(book);
    session.background_download = book;
    throw CommandError(kInterrupted,
                       QuoteTitle(DisplayTitle(book)) +
                           " goes on downloading while you do something else. See how "
                           "far it is with \"quire status " +
                           GetString(book, store::Book::kEan) + "\".");
  }
  std::string path = FindFile(book, true);
  if (path.empty()) *reason = log.Explanation();
  return path;
}

void ReportEndedDownload(Session& session) {
  if (!session.background_download) return;
  store::StoreManager& manager = session.Store();
  // The first call may find that it has ended, and only the second says so.
  if (manager.CheckDownloadState() == 1 && manager.CheckDownloadState() == 1) return;
  ReportDownload(*session.background_download);
  session.background_download.reset();
}

void WaitForBackgroundDownload(Session& session) {
  ReportEndedDownload(session);
  if (!session.background_download) return;
  const store::Book book = *session.background_download;
  Screen::Err().PrintLine("Waiting for " + QuoteTitle(DisplayTitle(book)) +
                          " to arrive. Ctrl-C leaves at once and keeps what has come.");
  if (!WaitForDownload(session.Store(), book)) ExitDuringDownload(book);
  ReportDownload(book);
  session.background_download.reset();
}

}  // namespace app
