#ifndef QUIRE_DOWNLOAD_QUEUE_H_
#define QUIRE_DOWNLOAD_QUEUE_H_

#include <future>
#include <string>
#include <vector>

#include "book.h"
#include "first_failure.h"
#include "saltmoor/opds/resource_downloader.h"

namespace saltmoor::quire {

/// The downloads of bought books, one at a time on a thread of their own. Not thread-safe. The
/// destructor waits for a running download.
class DownloadQueue {
 public:
  /// \param failure  receives why a download failed; must outlive the queue.
  explicit DownloadQueue(FirstFailure& failure);

  void Add(const Book& book) { download_queue_.push_back(book); }

  /// Finishes the download that has ended, if one has, and takes the next book off the queue. Does
  /// not wait for a download.
  /// \return whether there was a download at the time of the call.
  bool Advance();

  /// Removes all books and the saved path. A running download continues.
  void Clear();

  /// The book taken off the queue last; without properties when there is none.
  const Book& GetCurrentBook() const { return downloading_book_; }

  /// How far the running download is, in percent; 0 while its size is unknown.
  int GetProgress();

  /// The path of the last download's file; empty when it failed or was removed.
  const std::string& GetSavedPath() const { return saved_path_; }

 private:
  void Finish();
  void Start();
  void Fail(const Failure& failure);

  FirstFailure& failure_;
  std::vector<Book> download_queue_;
  opds::ResourceDownloader downloader_;
  std::future<int> download_future_;
  Book downloading_book_;
  std::string saved_path_;
};

}  // namespace saltmoor::quire

#endif  // QUIRE_DOWNLOAD_QUEUE_H_
