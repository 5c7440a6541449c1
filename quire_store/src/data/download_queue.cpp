#include "download_queue.h"

#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <functional>
#include <utility>

#include "book_files.h"
#include "book_properties.h"
#include "device_paths.h"
#include "file_names.h"
#include "log.h"
#include "tabulet.h"

namespace saltmoor::quire {
namespace {

constexpr LogPlace kFinishing{"quire_store/src/data/store_manager", 512,
                              "int saltmoor::quire::StoreManager::CheckDownloadState()"};

constexpr int kErrorIcon = 4;
constexpr int kErrorDisplayTime_ms = 7000;
constexpr int kScanRequest = 84;
constexpr int kScanTimeout_ms = 2000;
constexpr useconds_t kScanPause_us = 200'000;

void ShowDownloadError() {
  Message(kErrorIcon, "@DownloadError", "@DownloadError", kErrorDisplayTime_ms);
}

void NotifyScanner() {
  const int scanner = FindTaskByAppName(paths::kScanner);
  if (scanner == -1) return;
  const std::string request = std::string("-scan:") + paths::kDownloads;
  SendRequestTo(scanner, kScanRequest, request.data(), static_cast<int>(request.size()), 0,
                kScanTimeout_ms);
  usleep(kScanPause_us);
}

std::string GetExtension(const std::string& path) {
  return std::get<1>(ParseToNameExtention(path));
}

// The extension that the content type calls for; empty when the file keeps its name.
std::string ExtensionByContentType(const std::string& content_type) {
  if (content_type.rfind("application/force-download", 0) == 0) return {};
  return ExtentionByMime(content_type);
}

bool IsOpenable(const std::string& path) {
  const std::string extension = GetExtension(path);
  for (const tb_file_type* type = GetSupportedFileTypes(); type->extension != nullptr; ++type) {
    if (extension == type->extension) return true;
  }
  // Compatibility: any of these characters anywhere makes a file a book.
  return path.find_last_of("fb2.zip") != std::string::npos;
}

// Renames a downloaded file by its content type and notifies the scanner, or removes the file when
// it is no book, such as a page that the shop served instead of one.
// \return the path of the book; empty when the file was removed.
std::string FinishDownload(const std::string& saved, const std::string& content_type) {
  Log(kLogTrace, kFinishing, "filename [" + saved + "]");
  const std::string new_extension = ExtensionByContentType(content_type);
  const std::string path = new_extension.empty()
                               ? saved
                               : std::get<0>(ParseToNameExtention(saved)) + "." + new_extension;
  const bool rename_failed =
      !new_extension.empty() && std::rename(saved.c_str(), path.c_str()) != 0;
  const std::string extension = GetExtension(path);
  // Compatibility: a web page is no book, although the device opens it.
  if (IsOpenable(path) && extension != "htm" && extension != "html") {
    NotifyScanner();
    return rename_failed ? saved : path;
  }
  ShowDownloadError();
  tb_unlink(path.c_str());
  if (rename_failed) tb_unlink(saved.c_str());
  return {};
}

// An exception of the engine must not reach the application.
int JoinDownload(std::future<int> download) {
  try {
    return download.get();
  } catch (...) {
    return -1;
  }
}

}  // namespace

DownloadQueue::DownloadQueue(FirstFailure& failure)
    : failure_(failure), downloader_(paths::kDownloads, nullptr) {}

bool DownloadQueue::Advance() {
  const bool had_download = download_future_.valid();
  if (had_download &&
      download_future_.wait_for(std::chrono::milliseconds(0)) == std::future_status::ready) {
    Finish();
    downloading_book_ = Book();
  }
  if (!download_queue_.empty()) {
    downloading_book_ = std::move(download_queue_.front());
    download_queue_.erase(download_queue_.begin());
    // Compatibility: a book taken off the queue while another one downloads is not downloaded.
    if (!download_future_.valid()) Start();
  }
  return had_download;
}

void DownloadQueue::Clear() {
  download_queue_.clear();
  downloading_book_ = Book();
  saved_path_.clear();
}

int DownloadQueue::GetProgress() {
  bool active = false;
  std::string name;
  int total = 0;
  int done = 0;
  downloader_.GetProgress(&active, &name, &total, &done);
  return active && total >= 1 ? static_cast<int>(std::int64_t{done} * 100 / total) : 0;
}

void DownloadQueue::Finish() {
  if (JoinDownload(std::move(download_future_)) != 0) {
    const auto status = downloader_.GetStatusInfo();
    Fail({Failure::kDownload, status.code, status.http_status, status.error});
    return;
  }
  const std::string saved = downloader_.GetSavedPath();
  saved_path_ = FinishDownload(saved, downloader_.GetStatusInfo().content_type);
  if (saved_path_.empty()) failure_.Record(Failure::kNotABook);
}

void DownloadQueue::Start() {
  try {
    download_future_ =
        std::async(std::launch::async, [this, url = GetString(downloading_book_, Book::kEbookLink),
                                        name = GenerateBookShortFileName(downloading_book_)] {
          return downloader_.DownloadResource(url, name, std::function<void(int)>());
        });
  } catch (const std::exception&) {  // no thread can be created
    Fail({Failure::kDownload, 0, 0, {}});
    downloading_book_ = Book();
  }
}

void DownloadQueue::Fail(const Failure& failure) {
  saved_path_.clear();
  failure_.Record(failure);
  ShowDownloadError();
}

}  // namespace saltmoor::quire
