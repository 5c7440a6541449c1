#ifndef SALTMOOR_OPDS_RESOURCE_DOWNLOADER_H_
#define SALTMOOR_OPDS_RESOURCE_DOWNLOADER_H_

#include <functional>
#include <memory>
#include <string>

#include "saltmoor/utilities/downloader.h"

namespace saltmoor::opds {

/// Observes a download. Reserved: the argument is always null.
class IDownloadObserver;

/// Downloads files into one directory, one at a time. Copies of an object share its state.
/// Thread-safe, except that only one thread at a time may call DownloadResource.
///
/// A download is written to `NAME.part`, in which a long NAME may be truncated, and renamed to
/// `NAME` when it is complete. A short response, a full disk, a status other than 200 and 206 or a
/// web page (text/html) is a failure and leaves no file `NAME`. A partial file of the same URL is
/// resumed with a range request if the server still has the same version; otherwise the download
/// starts again from the first byte.
class ResourceDownloader {
 public:
  /// \param directory  its path, without a trailing slash; the first download creates it, for its
  ///     owner only, if it is missing.
  /// \param observer  null.
  ResourceDownloader(const std::string& directory, IDownloadObserver* observer);

  /// Downloads `url` to the file `file_name` and waits until the download has ended. The total time
  /// is not limited; 30 seconds without a byte are a transient failure. After a transient failure
  /// the call tries again, a limited number of times.
  ///
  /// \param file_name  without a directory. A name that is too long for the file system is
  ///     truncated before its extension. If it has no dot, and the response no type, the file takes
  ///     the extension of the URL, .epub, .pdf or .acsm. On success the file, which only its owner
  ///     can read, replaces an existing one of that name.
  /// \param progress  called on the calling thread with the percentage, 0 to 100. May be empty;
  ///     must not throw.
  /// \return 0 on success; otherwise a number above 0, with details in GetStatusInfo. The reason is
  ///     logged.
  int DownloadResource(const std::string& url, const std::string& file_name,
                       std::function<void(int)> progress);

  /// Reports the progress of the current download, or of the last one. Every pointer may be null.
  /// \param active  receives whether a download is running.
  /// \param name  receives its file name.
  /// \param total,done  receive the size of the file and the size of what has arrived, in one unit:
  ///     bytes up to 2 GiB, larger units above. `total` is 0 while the size is unknown.
  void GetProgress(bool* active, std::string* name, int* total, int* done);

  /// The full path of the file that the last successful download saved; empty if there is none.
  std::string GetSavedPath() const;

  /// The result of the last download.
  saltmoor::utilities::Downloader::StatusInfo GetStatusInfo() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace saltmoor::opds

#endif  // SALTMOOR_OPDS_RESOURCE_DOWNLOADER_H_
