// libsaltmoor_opds.so without a device: every download fails.

#include "saltmoor/opds/resource_downloader.h"

namespace saltmoor::opds {

struct ResourceDownloader::State {};

ResourceDownloader::ResourceDownloader(const std::string& /*directory*/,
                                       IDownloadObserver* /*observer*/) {}

int ResourceDownloader::DownloadResource(const std::string& /*url*/,
                                         const std::string& /*file_name*/,
                                         std::function<void(int)> /*progress*/) {
  return 1;
}

void ResourceDownloader::GetProgress(bool* active, std::string* name, int* total, int* done) {
  if (active != nullptr) *active = false;
  if (name != nullptr) name->clear();
  if (total != nullptr) *total = 0;
  if (done != nullptr) *done = 0;
}

std::string ResourceDownloader::GetSavedPath() const {
  return "";
}

utilities::Downloader::StatusInfo ResourceDownloader::GetStatusInfo() const {
  utilities::Downloader::StatusInfo status;
  status.code = 1;
  status.error = "not implemented";
  return status;
}

}  // namespace saltmoor::opds
