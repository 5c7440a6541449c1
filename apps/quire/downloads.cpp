#include "downloads.h"

#include <chrono>
#include <cstdlib>
#include <thread>

#include "book_place.h"
#include "book_view.h"
#include "commands.h"
#include "device_log.h"
#include "failure.h"
#include "interrupts.h"
#include "screen.h"
#include "text.h"

namespace app {
namespace {

constexpr std::chrono::milliseconds kBetweenPolls{100};

/// Returns when the running download has ended, or at Ctrl-C: then false.
bool Follow(store::StoreManager& manager, const store::Book& book) {
  const InterruptCatcher interrupts;
  const Screen& screen = Screen::Err();
  const std::string ean = Property(book, store::Book::kEan);
  const std::string title = Printable(TitleOf(book));
  while (true) {
    screen.ReplaceLine("");  // the device may have something to say about the end
    if (manager.CheckDownloadState() == 0) return true;
    if (InterruptCatcher::Caught()) return false;
    const int percent = manager.GetBookStatus(ean).progress;
    screen.ReplaceLine(ProgressLine(title, percent, screen.Width() - 1));
    std::this_thread::sleep_for(kBetweenPolls);
  }
}

[[noreturn]] void Leave(const store::Book& book) {
  PrintFailure("Stopped. What has arrived of " + Quoted(TitleOf(book)) +
               " is kept; the next download goes on from there.");
  Screen::Out().Write("");
  std::_Exit(kInterrupted);  // an ordinary end would wait for the download
}

void TellEnd(const store::Book& book) {
  const std::string path = FindFile(book, true);
  if (path.empty()) {
    PrintFailure(Quoted(TitleOf(book)) + " could not be downloaded. Try again later.");
  } else {
    Screen::Out().Say(Quoted(TitleOf(book)) + " has arrived:");
    Screen::Out().SayPath(path);
  }
}

}  // namespace

std::string Download(Session& session, const store::Book& book, std::string* reason) {
  AwaitBackgroundDownload(session);  // a book queued beside a running one would be forgotten
  store::StoreManager& manager = session.Store();
  const DeviceLog log;
  manager.DownloadBookById(Property(book, store::Book::kEan));
  if (!Follow(manager, book)) {
    if (session.GetUse() != Session::Use::kPrompt) Leave(book);
    session.background_download = book;
    throw Failure(kInterrupted, Quoted(TitleOf(book)) +
                                    " goes on downloading while you do something else. See how "
                                    "far it is with \"quire status " +
                                    Property(book, store::Book::kEan) + "\".");
  }
  std::string path = FindFile(book, true);
  if (path.empty()) *reason = log.Explanation();
  return path;
}

void TellEndedDownload(Session& session) {
  if (!session.background_download) return;
  store::StoreManager& manager = session.Store();
  // The first call may find that it has ended, and only the second says so.
  if (manager.CheckDownloadState() == 1 && manager.CheckDownloadState() == 1) return;
  TellEnd(*session.background_download);
  session.background_download.reset();
}

void AwaitBackgroundDownload(Session& session) {
  TellEndedDownload(session);
  if (!session.background_download) return;
  const store::Book book = *session.background_download;
  Screen::Err().Say("Waiting for " + Quoted(TitleOf(book)) +
                    " to arrive. Ctrl-C leaves at once and keeps what has come.");
  if (!Follow(session.Store(), book)) Leave(book);
  TellEnd(book);
  session.background_download.reset();
}

}  // namespace app
