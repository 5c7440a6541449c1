#include "downloads.h"

#include <chrono>
#include <cstdlib>
#include <thread>

#include "book_view.h"
#include "failure_text.h"
#include "interrupts.h"
#include "saved_books.h"
#include "screen.h"
#include "text.h"

namespace app {
namespace {

constexpr std::chrono::milliseconds kPollInterval{100};

enum class DownloadState { kRunning, kEnded };

/// Advances the running download and keeps its failure.
/// \return the state before the call: the call that ends the download still returns kRunning.
DownloadState Poll(store::StoreManager& manager, store::Failure* failure) {
  const bool was_running = manager.CheckDownloadState() == 1;
  if (manager.GetLastFailure()) *failure = manager.GetLastFailure();
  return was_running ? DownloadState::kRunning : DownloadState::kEnded;
}

/// Shows the progress until the running download has ended. False on Ctrl-C, which the caller
/// catches.
bool WaitForDownload(store::StoreManager& manager, const store::Book& book,
                     store::Failure* failure) {
  const Screen& screen = Screen::Err();
  const std::string ean = GetString(book, store::Book::kEan);
  const std::string title = MakePrintable(DisplayTitle(book));
  while (true) {
    screen.ReplaceLine("");  // the device prints a message when a download fails
    if (Poll(manager, failure) == DownloadState::kEnded) return true;
    if (InterruptHandler::Caught()) return false;
    const int percent = manager.GetBookStatus(ean).progress;
    screen.ReplaceLine(ProgressLine(title, percent, screen.Width() - 1));
    std::this_thread::sleep_for(kPollInterval);
  }
}

/// The path of a book whose download has ended, which is remembered; empty when it failed.
std::string FinishDownload(store::StoreManager& manager, const store::Book& book,
                           const store::Failure& failure) {
  if (failure) return {};
  const std::string path = manager.GetSavedPath();
  if (!SavedBooks().Add(GetString(book, store::Book::kEan), path)) {
    PrintError("The path of " + QuoteTitle(DisplayTitle(book)) +
               " could not be stored, so that quire may not find it again. Check whether the "
               "device's storage is full.");
  }
  return path;
}

void FinishBackgroundDownload(Session& session) {
  const auto [book, failure] = *session.background_download;
  session.background_download.reset();
  ReportDownload(book, FinishDownload(session.Store(), book, failure), failure);
}

[[noreturn]] void ExitDuringDownload(const store::Book& book) {
  PrintError("Stopped. The part of " + QuoteTitle(DisplayTitle(book)) +
             " that was received is kept; the next download continues it.");
  std::_Exit(kInterrupted);  // an ordinary exit waits for the download
}

}  // namespace

std::string DownloadBook(Session& session, const store::Book& book, store::Failure* failure) {
  WaitForBackgroundDownload(session);  // the library forgets a book queued beside a running one
  store::StoreManager& manager = session.Store();
  const std::string ean = GetString(book, store::Book::kEan);
  const InterruptHandler interrupts;
  manager.DownloadBookById(ean);
  *failure = manager.GetLastFailure();
  if (!WaitForDownload(manager, book, failure)) {
    if (session.mode() != Session::Mode::kPrompt) ExitDuringDownload(book);
    session.background_download = {book, *failure};
    throw CommandError(kInterrupted, QuoteTitle(DisplayTitle(book)) +
                                         " goes on downloading in the background. See its "
                                         "progress with \"quire status " +
                                         ean + "\".");
  }
  return FinishDownload(manager, book, *failure);
}

void ReportDownload(const store::Book& book, const std::string& path,
                    const store::Failure& failure) {
  const std::string title = QuoteTitle(DisplayTitle(book));
  if (path.empty()) {
    return PrintError(title + " could not be downloaded (" + DescribeFailure(failure) +
                      "). Try again later.");
  }
  Screen::Out().PrintLine("Downloaded " + title + " to:");
  Screen::Out().PrintPath(path);
}

void ReportEndedDownload(Session& session) {
  if (!session.background_download) return;
  store::StoreManager& manager = session.Store();
  store::Failure* const failure = &session.background_download->failure;
  Poll(manager, failure);  // returns kRunning even if it ends the download
  if (Poll(manager, failure) == DownloadState::kRunning) return;
  FinishBackgroundDownload(session);
}

void WaitForBackgroundDownload(Session& session) {
  ReportEndedDownload(session);
  if (!session.background_download) return;
  const store::Book& book = session.background_download->book;
  const InterruptHandler interrupts;
  Screen::Err().PrintLine("Waiting for " + QuoteTitle(DisplayTitle(book)) +
                          " to download. Ctrl-C stops at once and keeps what was received.");
  if (!WaitForDownload(session.Store(), book, &session.background_download->failure)) {
    ExitDuringDownload(book);
  }
  FinishBackgroundDownload(session);
}

}  // namespace app
