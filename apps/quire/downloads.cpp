#include "downloads.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "book_view.h"
#include "failure_text.h"
#include "interrupts.h"
#include "pending_downloads.h"
#include "saved_books.h"
#include "screen.h"
#include "text.h"

namespace app {
namespace {

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPollInterval{100};

enum class DownloadState { kRunning, kEnded };

double SecondsSince(steady_clock::time_point start) {
  return std::chrono::duration<double>(steady_clock::now() - start).count();
}

/// Advances the running download and keeps its failure.
/// \return the state before the call: the call that ends the download still returns kRunning.
DownloadState Poll(store::StoreManager& manager, store::Failure* failure) {
  const bool was_running = manager.CheckDownloadState() == 1;
  if (manager.GetLastFailure()) *failure = manager.GetLastFailure();
  return was_running ? DownloadState::kRunning : DownloadState::kEnded;
}

/// Shows the progress of one download: a bar, or plain lines.
class DownloadProgress {
 public:
  DownloadProgress(const store::Book& book, const DownloadCount& count)
      : label_(MakePrintable(DisplayTitle(book))) {
    if (count.total < 2) return;
    label_ = std::to_string(count.number) + " of " + std::to_string(count.total) + " " + label_;
  }

  void Show(int percent) {
    const Screen& screen = Screen::Err();
    if (first_percent_ < 0) first_percent_ = percent;
    const std::string left = TimeLeft(percent);
    if (screen.IsPlainTerminal()) {
      if (steady_clock::now() < next_line_) return;
      next_line_ = steady_clock::now() + kPlainProgressPeriod;
      return screen.PrintLine(label_ + ": " + std::to_string(percent) + " %" +
                              (left.empty() ? "" : "," + left));
    }
    const int columns = screen.Width() - 1 - DisplayWidth(left);
    constexpr int kMinBarColumns = 24;
    const bool fits = columns >= kMinBarColumns;
    screen.ReplaceLine(ProgressLine(label_, percent, fits ? columns : screen.Width() - 1) +
                       (fits ? left : ""));
  }

 private:
  /// Such as " 12 s left"; empty as long as it cannot be estimated.
  std::string TimeLeft(int percent) const {
    const double seconds = SecondsSince(start_);
    if (seconds < 2 || percent <= first_percent_) return {};
    const double left = seconds * (100 - percent) / (percent - first_percent_);
    const long rounded = std::lround(left);
    return rounded < 120 ? " " + std::to_string(rounded) + " s left"
                         : " " + std::to_string(rounded / 60) + " min left";
  }

  std::string label_;
  int first_percent_ = -1;  // a download may continue a part
  steady_clock::time_point start_ = steady_clock::now();
  steady_clock::time_point next_line_ = start_ + kPlainProgressPeriod;
};

/// Shows the progress until the running download has ended. False on Ctrl-C, which the caller
/// catches.
bool WaitForDownload(store::StoreManager& manager, const store::Book& book,
                     const DownloadCount& count, store::Failure* failure) {
  const std::string ean = GetString(book, store::Book::kEan);
  DownloadProgress progress(book, count);
  while (true) {
    Screen::Err().ReplaceLine("");  // the device prints a message when a download fails
    if (Poll(manager, failure) == DownloadState::kEnded) return true;
    if (InterruptHandler::Caught()) return false;
    progress.Show(manager.GetBookStatus(ean).progress);
    std::this_thread::sleep_for(kPollInterval);
  }
}

/// The path of a book whose download has ended, which is remembered; empty when it failed.
std::string FinishDownload(store::StoreManager& manager, const store::Book& book,
                           const store::Failure& failure) {
  if (failure) return {};
  std::string path = manager.GetSavedPath();
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
  ReportDownload(book, {FinishDownload(session.Store(), book, failure), failure});
  RemovePending(session, book);
}

/// What else is to be downloaded, as a sentence that follows another one; empty when nothing is.
std::string DescribeLeft(Session& session, const store::Book& current) {
  std::vector<std::string> pending = ListPending(session);
  std::erase(pending, GetString(current, store::Book::kEan));
  const std::size_t count = pending.size();
  if (count == 0) return {};
  return (count == 1 ? " 1 more book is" : " " + std::to_string(count) + " more books are") +
         " left: \"quire download\" goes on with them.";
}

[[noreturn]] void ExitDuringDownload(Session& session, const store::Book& book) {
  PrintError("Stopped. The part of " + QuoteTitle(DisplayTitle(book)) +
             " that was received is kept; the next download continues it." +
             DescribeLeft(session, book));
  std::_Exit(kInterrupted);  // an ordinary exit waits for the download
}

/// Such as "1.2 MB, 400 kB/s".
std::string DescribeTransfer(const DownloadResult& result) {
  std::error_code error;
  const auto size_bytes = std::filesystem::file_size(result.path, error);
  if (error) return {};
  std::string text = FormatSize(static_cast<std::int64_t>(size_bytes));
  constexpr double kMinTime_s = 1;  // a shorter one says nothing about the speed
  if (result.seconds < kMinTime_s) return text;
  const double speed = static_cast<double>(size_bytes) / result.seconds;
  return text + ", " + FormatSize(std::llround(speed)) + "/s";
}

}  // namespace

void AddPending(Session& session, const std::vector<store::Book>& books) {
  std::vector<std::string> eans;
  const SavedBooks saved_books;
  for (const store::Book& book : books) {
    if (saved_books.Find(book).empty()) eans.push_back(GetString(book, store::Book::kEan));
  }
  if (eans.empty() || PendingDownloads(session.Store().getLogin()).Add(eans)) return;
  PrintError(
      "Which books to download could not be stored, so that they are forgotten when quire "
      "ends. Check whether the device's storage is full.");
}

void RemovePending(Session& session, const store::Book& book) {
  // A failure leaves a book that the next download finds on the device.
  (void)PendingDownloads(session.Store().getLogin()).Remove(GetString(book, store::Book::kEan));
}

std::vector<std::string> ListPending(Session& session) {
  return PendingDownloads(session.Store().getLogin()).eans();
}

DownloadResult DownloadBook(Session& session, const store::Book& book, const DownloadCount& count) {
  WaitForBackgroundDownload(session);  // the library forgets a book queued beside a running one
  store::StoreManager& manager = session.Store();
  const std::string ean = GetString(book, store::Book::kEan);
  const InterruptHandler interrupts;
  const auto start = steady_clock::now();
  DownloadResult result;
  manager.DownloadBookById(ean);
  result.failure = manager.GetLastFailure();
  if (!WaitForDownload(manager, book, count, &result.failure)) {
    if (session.mode() != Session::Mode::kPrompt) ExitDuringDownload(session, book);
    session.background_download = {book, result.failure};
    throw CommandError(kInterrupted, QuoteTitle(DisplayTitle(book)) +
                                         " goes on downloading in the background. See its "
                                         "progress with \"quire status " +
                                         ean + "\"." + DescribeLeft(session, book));
  }
  result.path = FinishDownload(manager, book, result.failure);
  result.seconds = SecondsSince(start);
  return result;
}

void ReportDownload(const store::Book& book, const DownloadResult& result) {
  const std::string title = QuoteTitle(DisplayTitle(book));
  if (result.path.empty()) {
    return PrintError(title + " could not be downloaded (" + DescribeFailure(result.failure) +
                      "). Try again later.");
  }
  const std::string transfer = DescribeTransfer(result);
  Screen::Out().PrintLine("Downloaded " + title + (transfer.empty() ? "" : " (" + transfer + ")") +
                          " to:");
  Screen::Out().PrintPath(result.path);
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
  if (!WaitForDownload(session.Store(), book, {}, &session.background_download->failure)) {
    ExitDuringDownload(session, book);
  }
  FinishBackgroundDownload(session);
}

}  // namespace app
