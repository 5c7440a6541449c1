#include "saltmoor/opds/resource_downloader.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <mutex>

#include "platform/linux/common/log.h"
#include "platform/linux/opds/download.h"
#include "platform/linux/opds/part_file.h"

namespace saltmoor::opds {
namespace {

using platform::Download;
using platform::Error;
using platform::PartFile;
using StatusInfo = utilities::Downloader::StatusInfo;

// Status codes of failures other than those of libcurl, which keep its numbers.
constexpr int kInvalidResponse = 22;
constexpr int kFileFailure = 23;
constexpr int kInvalidFileName = 43;

bool IsValidFileName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(std::string("/\0", 2)) == std::string::npos;
}

int ToStatusCode(const Error& error) {
  if (error.kind() == Error::Kind::kSystem) return kFileFailure;
  if (error.kind() == Error::Kind::kInvalidData) return kInvalidResponse;
  return error.code();
}

int Percentage(std::int64_t done, std::int64_t total) {
  return total > 0 ? static_cast<int>(static_cast<double>(done) / static_cast<double>(total) * 100)
                   : 0;
}

}  // namespace

struct __attribute__((visibility("hidden"))) ResourceDownloader::State {
  explicit State(const std::string& path) : directory(path) {}

  Error Run(const std::string& url, const std::string& file_name,
            const std::function<void(int)>& progress, StatusInfo* info);

  const std::string directory;
  std::mutex download_mutex;
  mutable std::mutex mutex;  // guards the following members
  bool active = false;
  std::string name;
  std::int64_t done = 0;
  std::int64_t total = 0;
  std::string saved_path;
  StatusInfo status;
};

Error ResourceDownloader::State::Run(const std::string& url, const std::string& file_name,
                                     const std::function<void(int)>& progress, StatusInfo* info) {
  if (!IsValidFileName(file_name)) {
    return Error::Transfer(kInvalidFileName, "\"" + file_name + "\" is not a file name");
  }
  PartFile part(directory, file_name);
  {
    const std::lock_guard<std::mutex> lock(mutex);
    active = true;
    name = part.name();
    done = total = 0;
  }
  if (Error error = part.Open(url)) return error;

  int reported = -1;
  Download download(&part, url, [&](std::int64_t done_bytes, std::int64_t total_bytes) {
    {
      const std::lock_guard<std::mutex> lock(mutex);
      done = done_bytes;
      total = total_bytes;
    }
    const int percentage = Percentage(done_bytes, total_bytes);
    if (progress && percentage != reported) progress(percentage);
    reported = percentage;
  });
  Error error = download.Run();
  info->http_status = download.http_status();
  info->content_type = download.content_type();
  if (error) return error;

  info->size = part.size_bytes();
  if (progress && reported != 100) progress(100);
  const std::lock_guard<std::mutex> lock(mutex);
  saved_path = part.path();
  return {};
}

ResourceDownloader::ResourceDownloader(const std::string& directory, IDownloadObserver*)
    : state_(std::make_shared<State>(directory)) {}

int ResourceDownloader::DownloadResource(const std::string& url, const std::string& file_name,
                                         std::function<void(int)> progress) {
  const std::shared_ptr<State> state = state_;
  const std::lock_guard<std::mutex> download_lock(state->download_mutex);
  StatusInfo info;
  info.url = url;
  const Error error =
      platform::CatchAtBoundary(Error::InvalidData("the download ended unexpectedly"),
                                [&] { return state->Run(url, file_name, progress, &info); });
  info.code = ToStatusCode(error);
  info.error = error.message();
  {
    const std::lock_guard<std::mutex> lock(state->mutex);
    state->active = false;
    state->status = info;
  }
  if (error) {
    platform::Log(platform::LogLevel::kError, "the download of " + state->directory + "/" +
                                                  file_name + " failed: " + error.message());
  }
  return info.code;
}

void ResourceDownloader::GetProgress(bool* active, std::string* name, int* total, int* done) {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  int shift = 0;
  while (std::max(state_->total, state_->done) >> shift > std::numeric_limits<int>::max()) ++shift;
  if (active) *active = state_->active;
  if (name) *name = state_->name;
  if (total) *total = static_cast<int>(state_->total >> shift);
  if (done) *done = static_cast<int>(state_->done >> shift);
}

std::string ResourceDownloader::GetSavedPath() const {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  return state_->saved_path;
}

StatusInfo ResourceDownloader::GetStatusInfo() const {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  return state_->status;
}

}  // namespace saltmoor::opds
