#ifndef SALTMOOR_OPDS_RESOURCE_DOWNLOADER_H_
#define SALTMOOR_OPDS_RESOURCE_DOWNLOADER_H_

#include <functional>
#include <memory>
#include <string>

#include "saltmoor/utilities/downloader.h"

namespace saltmoor::opds {

/// Watches a download. No such observer exists yet: the argument is always null.
class IDownloadObserver;

/// Downloads files into one folder, one at a time. Copies share the state of one engine.
///
/// A file grows as `NAME.part` and gets its name only when it is whole: a short answer, a full disk
/// or a status other than 200 and 206 is a failure and leaves nothing under NAME. A part is gone on
/// with by a range request when it belongs to the same address and the server still has the same
/// version; otherwise the download starts anew.
class ResourceDownloader {
 public:
  /// \param folder  without a closing slash; made on the first download when it is missing.
  ResourceDownloader(const std::string& folder, IDownloadObserver* observer);

  /// Downloads `url` into the folder as `file_name` and waits for the end. There is no limit on the
  /// whole, but 30 seconds without a byte are a failure that may pass, and such failures are tried
  /// a few times before the call gives up.
  ///
  /// May be called on any thread, by one thread at a time.
  /// \param file_name  without a folder; it is cut, keeping its extension, where it is longer than
  ///     the file system allows. An existing file of that name is replaced at the very end.
  /// \param progress  called on the same thread with the percentage, 0 to 100; may be empty, and
  ///     must not throw.
  /// \return 0 on success; otherwise a number above 0 that GetStatusInfo explains.
  int DownloadResource(const std::string& url, const std::string& file_name,
                       std::function<void(int)> progress);

  /// How far the running download is. From any thread; every pointer may be null.
  /// \param active  whether one runs.
  /// \param name  its file name.
  /// \param total,done  of the whole file, in one unit that fits both into an int: bytes up to
  ///     2 GiB, larger units above. `total` is 0 while the size is unknown.
  void GetProgress(bool* active, std::string* name, int* total, int* done);

  /// The full path of the file of the last successful download; empty when there is none. From any
  /// thread.
  std::string GetSavedPath() const;

  /// How the last download ended. From any thread.
  saltmoor::utilities::Downloader::StatusInfo GetStatusInfo() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace saltmoor::opds

#endif  // SALTMOOR_OPDS_RESOURCE_DOWNLOADER_H_
