#include <fstream>
#include <stdexcept>

#include "fake_device.h"
#include "saltmoor/opds/resource_downloader.h"

namespace saltmoor::opds {

using fake::device;

struct ResourceDownloader::State {
  std::string directory;
  std::string saved_path;
};

ResourceDownloader::ResourceDownloader(const std::string& directory, IDownloadObserver* observer)
    : state_(std::make_shared<State>()) {
  device.Record("downloader " + directory);
  if (observer != nullptr) device.RecordMisuse("an observer of downloads");
  state_->directory = directory;
}

int ResourceDownloader::DownloadResource(const std::string& url, const std::string& file_name,
                                         std::function<void(int)> progress) {
  device.Record("download " + url + " as " + file_name);
  if (progress) device.RecordMisuse("a progress callback");
  device.holds_downloads.wait(true);
  if (device.download.throws) throw std::runtime_error("no book");
  if (device.download.result != 0) return device.download.result;
  const std::string& name = device.download.saved_name;
  state_->saved_path = state_->directory + "/" + (name.empty() ? file_name : name);
  std::ofstream(state_->saved_path) << "a book";
  return 0;
}

void ResourceDownloader::GetProgress(bool* active, std::string* name, int* total, int* done) {
  *active = device.download.active;
  *name = "a book";
  *total = device.download.total;
  *done = device.download.done;
}

std::string ResourceDownloader::GetSavedPath() const {
  return state_->saved_path;
}

utilities::Downloader::StatusInfo ResourceDownloader::GetStatusInfo() const {
  device.Record("status of download");
  utilities::Downloader::StatusInfo info;
  if (device.download.result != 0) {
    info = {
        device.download.transport_error, 0, device.download.http_status, "", "", "no book came"};
    return info;
  }
  info.url = "text/html";  // so that only a reader of the right field passes
  info.content_type = device.download.content_type;
  info.error = "text/html";
  return info;
}

}  // namespace saltmoor::opds
