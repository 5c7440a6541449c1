#include "platform/linux/opds/download.h"

#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <thread>
#include <utility>

#include "platform/linux/common/log.h"
#include "platform/linux/common/transfer.h"
#include "platform/linux/opds/content_range.h"
#include "saltmoor/utilities/http_request_runner.h"

namespace saltmoor::platform {
namespace {

using saltmoor::utilities::HttpRequestRunner;
using Clock = std::chrono::steady_clock;

// A power failure loses at most what was received since the last sync.
constexpr std::chrono::seconds kSyncInterval{1};

/// Whether a retry may succeed after a failed transfer.
bool IsTransient(const Error& error) {
  switch (error.code()) {
    case HttpRequestRunner::kNameNotFound:
    case HttpRequestRunner::kConnectionRefused:
    case HttpRequestRunner::kTimedOut:
    case HttpRequestRunner::kTlsFailed:
    case HttpRequestRunner::kConnectionLost:
      return true;
    default:
      return false;
  }
}

bool IsTransientStatus(int http_status) {
  return http_status >= 500 || http_status == 408 || http_status == 429;
}

/// The validator for If-Range: a strong ETag, or a Last-Modified that is earlier than the
/// response's own date, because two versions may have the same second.
std::string GetValidator(const Transfer& transfer) {
  std::string etag = transfer.GetHeader("ETag");
  if (etag[0] == '"') return etag;
  const std::string modified = transfer.GetHeader("Last-Modified");
  const std::string date = transfer.GetHeader("Date");
  const bool earlier =
      date.empty() || curl_getdate(modified.c_str(), nullptr) < curl_getdate(date.c_str(), nullptr);
  return earlier ? modified : "";
}

/// Whether the response has the validator of the record, or none.
bool MatchesVersion(const std::string& validator, const Transfer& transfer) {
  const char* const name = validator.front() == '"' ? "ETag" : "Last-Modified";
  const std::string current = transfer.GetHeader(name);
  return current.empty() || validator == current;
}

/// Whether a Content-Type is of a web page, such as the log-in page of a shop or a network.
bool IsWebPage(const std::string& content_type) {
  constexpr std::string_view kType = "text/html";
  return strncasecmp(content_type.c_str(), kType.data(), kType.size()) == 0;
}

/// Whether a Content-Type says nothing about the format of a file.
bool IsUnspecific(const std::string& content_type) {
  constexpr std::string_view kType = "application/octet-stream";
  return content_type.empty() || strncasecmp(content_type.c_str(), kType.data(), kType.size()) == 0;
}

/// The extension of a URL's path, if it is one of those that a book without one is searched under;
/// otherwise empty.
std::string GetBookExtension(const std::string& path) {
  for (const char* extension : {".epub", ".pdf", ".acsm"}) {
    const std::size_t size = std::strlen(extension);
    const bool longer = path.size() > size;
    if (longer && strcasecmp(path.c_str() + path.size() - size, extension) == 0) return extension;
  }
  return "";
}

enum class RequestOutcome {
  kUndecided,  ///< no response yet
  kBody,       ///< the body is appended to the part file
  kComplete,   ///< the file is complete
  kUnusable,   ///< the part file cannot be resumed: start again
  kTransient,  ///< failed; a retry may succeed
  kPermanent,  ///< failed; a retry would fail too
};

}  // namespace

/// One request of a download.
class Download::Request {
 public:
  explicit Request(Download* download)
      : download_(*download),
        part_(*download->part_),
        offset_(part_.record().validator.empty() ? 0 : part_.size_bytes()) {}

  RequestOutcome Perform();
  /// Adds the extension of the URL to a name that has none.
  void CompleteName();
  const Error& error() const { return error_; }

 private:
  void HandleHeaders();
  void StartFile();
  void ExpectBody(std::int64_t total);
  RequestOutcome ClassifyResult(Error error);
  RequestOutcome Fail(RequestOutcome outcome, Error error);
  static std::size_t OnHeader(char*, std::size_t, std::size_t size, void* self) noexcept;
  bool SaveBody(std::string_view bytes);
  bool CheckProgress();
  static std::size_t OnBody(char* bytes, std::size_t, std::size_t size, void* self);
  static int OnProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t);

  Download& download_;
  PartFile& part_;
  Transfer transfer_;
  const std::int64_t offset_;  // the first byte to request
  std::int64_t total_ = 0;
  Clock::time_point last_receipt_ = Clock::now();
  Clock::time_point last_sync_ = last_receipt_;
  RequestOutcome outcome_ = RequestOutcome::kUndecided;
  Error error_;
};

RequestOutcome Download::Request::Perform() {
  transfer_.SetUrl(download_.url_);
  transfer_.Set(CURLOPT_FOLLOWLOCATION, 1L);
  transfer_.Set(CURLOPT_CONNECTTIMEOUT, static_cast<long>(download_.limits_.connect_timeout_s));
  transfer_.Set(CURLOPT_HEADERFUNCTION, &Request::OnHeader);
  transfer_.Set(CURLOPT_HEADERDATA, static_cast<void*>(this));
  transfer_.Set(CURLOPT_WRITEFUNCTION, &Request::OnBody);
  transfer_.Set(CURLOPT_WRITEDATA, static_cast<void*>(this));
  transfer_.Set(CURLOPT_NOPROGRESS, 0L);
  transfer_.Set(CURLOPT_XFERINFOFUNCTION, &Request::OnProgress);
  transfer_.Set(CURLOPT_XFERINFODATA, static_cast<void*>(this));
  CurlList fields;
  if (offset_ > 0) {
    // Not CURLOPT_RESUME_FROM, with which libcurl itself rejects some responses.
    transfer_.Set(CURLOPT_RANGE, (std::to_string(offset_) + '-').c_str());
    if (!fields.Append("If-Range: " + part_.record().validator)) throw std::bad_alloc();
    transfer_.Set(CURLOPT_HTTPHEADER, fields.get());
  }

  Error error = transfer_.Perform();
  download_.http_status_ = transfer_.status();
  if (!error && outcome_ == RequestOutcome::kUndecided) HandleHeaders();  // no body
  return ClassifyResult(std::move(error));
}

void Download::Request::CompleteName() {
  if (part_.name().find('.') != std::string::npos) return;
  std::string extension = GetBookExtension(transfer_.effective_path());
  if (extension.empty()) extension = GetBookExtension(transfer_.path());
  part_.AppendToName(extension);
}

RequestOutcome Download::Request::Fail(RequestOutcome outcome, Error error) {
  error_ = std::move(error);
  return outcome_ = outcome;
}

/// Called when the headers are complete, before the first byte of the body.
void Download::Request::HandleHeaders() {
  const int status = transfer_.status();
  if (status == 200) return StartFile();

  const bool resuming = offset_ > 0 && (status == 206 || status == 416);
  if (!resuming) {
    download_.content_type_ = transfer_.GetHeader("Content-Type");
    Fail(IsTransientStatus(status) ? RequestOutcome::kTransient : RequestOutcome::kPermanent,
         Error::Transfer(CURLE_HTTP_RETURNED_ERROR,
                         "the server responds with status " + std::to_string(status)));
    return;
  }

  // The type of the part or of the error page, not of the file.
  const PartRecord& record = part_.record();
  download_.content_type_ = record.content_type;
  const ContentRange range = ParseContentRange(transfer_.GetHeader("Content-Range"));
  const bool same_file = MatchesVersion(record.validator, transfer_) && range.total > 0 &&
                         (record.total_bytes == 0 || record.total_bytes == range.total);
  if (same_file && status == 206 && range.first == offset_) {
    ExpectBody(range.total);
  } else if (same_file && status == 416 && range.total == offset_) {
    outcome_ = RequestOutcome::kComplete;
  } else {
    outcome_ = RequestOutcome::kUnusable;
  }
}

/// Handles status 200: the body is the whole file, even if a range was requested.
void Download::Request::StartFile() {
  const std::string encoding = transfer_.GetHeader("Content-Encoding");
  if (!encoding.empty() && encoding != "identity") {
    Fail(RequestOutcome::kPermanent,
         Error::InvalidData("the server compresses the file, which was not requested"));
    return;
  }
  download_.content_type_ = transfer_.GetHeader("Content-Type");
  if (IsWebPage(download_.content_type_)) {
    Fail(RequestOutcome::kPermanent, Error::InvalidData("the server sends a web page, not a book"));
    return;
  }
  const std::int64_t length = std::max<std::int64_t>(transfer_.content_length(), 0);
  Error error =
      part_.Restart({download_.url_, GetValidator(transfer_), download_.content_type_, length});
  if (error) {
    Fail(RequestOutcome::kPermanent, std::move(error));
  } else {
    ExpectBody(length);
  }
}

void Download::Request::ExpectBody(std::int64_t total) {
  if (total - part_.size_bytes() > part_.AvailableBytes()) {
    Fail(RequestOutcome::kPermanent, Error::System(ENOSPC, "cannot write " + part_.path()));
    return;
  }
  outcome_ = RequestOutcome::kBody;
  total_ = total;
  download_.progress_(part_.size_bytes(), total_);
}

/// Called by libcurl for each header line.
std::size_t Download::Request::OnHeader(char*, std::size_t, std::size_t size, void* self) noexcept {
  static_cast<Request*>(self)->last_receipt_ = Clock::now();
  return size;
}

/// Called by libcurl with the next bytes of the body, whatever the status.
/// \return fewer than `size` to end the transfer.
std::size_t Download::Request::OnBody(char* bytes, std::size_t, std::size_t size, void* self) {
  return CatchAtBoundary(std::size_t{0}, [=] {
    return static_cast<Request*>(self)->SaveBody({bytes, size}) ? size : 0;
  });
}

/// \return false if the transfer is to end.
bool Download::Request::SaveBody(std::string_view bytes) {
  last_receipt_ = Clock::now();
  if (outcome_ == RequestOutcome::kUndecided) HandleHeaders();
  if (outcome_ != RequestOutcome::kBody) return false;
  if (total_ > 0 && static_cast<std::int64_t>(bytes.size()) > total_ - part_.size_bytes()) {
    outcome_ = RequestOutcome::kUnusable;
    return false;
  }
  if (Error error = part_.Append(bytes)) {
    Fail(RequestOutcome::kPermanent, std::move(error));
    return false;
  }
  download_.progress_(part_.size_bytes(), total_);
  return true;
}

/// Called by libcurl at least once a second, even while nothing arrives. CURLOPT_LOW_SPEED_TIME
/// averages, which detects a stall seconds too late.
int Download::Request::OnProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
  return CatchAtBoundary(1, [=] { return static_cast<Request*>(self)->CheckProgress() ? 0 : 1; });
}

/// \return false if the transfer is to end.
bool Download::Request::CheckProgress() {
  const Clock::time_point now = Clock::now();
  const int stall_timeout_s = download_.limits_.stall_timeout_s;
  if (now - last_receipt_ >= std::chrono::seconds(stall_timeout_s)) {
    Fail(RequestOutcome::kTransient,
         Error::Transfer(
             HttpRequestRunner::kTimedOut,
             "the server has sent nothing for " + std::to_string(stall_timeout_s) + " seconds"));
    return false;
  }
  if (part_.synced() || now - last_sync_ < kSyncInterval) return true;
  last_sync_ = now;
  Error error = part_.Sync();
  // Without a Content-Length the disk may fill up during the transfer.
  if (!error && part_.AvailableBytes() < 0) {
    error = Error::System(ENOSPC, "cannot write " + part_.path());
  }
  if (!error) return true;
  Fail(RequestOutcome::kPermanent, std::move(error));
  return false;
}

RequestOutcome Download::Request::ClassifyResult(Error error) {
  if (error_ || outcome_ == RequestOutcome::kUnusable || outcome_ == RequestOutcome::kComplete)
    return outcome_;
  if (error) {
    const bool transient = IsTransient(error);
    return Fail(transient ? RequestOutcome::kTransient : RequestOutcome::kPermanent,
                std::move(error));
  }
  if (total_ > 0 && part_.size_bytes() != total_) {
    return Fail(RequestOutcome::kTransient,
                Error::Transfer(HttpRequestRunner::kConnectionLost,
                                "the server sends less than it announced"));
  }
  return outcome_ = RequestOutcome::kComplete;
}

Download::Download(PartFile* part, std::string url, Progress progress, DownloadLimits limits)
    : part_(part),
      url_(std::move(url)),
      progress_(std::move(progress)),
      limits_(std::move(limits)) {}

Error Download::Run() {
  Error error = Fetch();
  if (!error) error = part_->Finish();
  if (!error) return {};
  // After a failed write the part file is not reliable, and on a full disk it only takes space.
  const bool resumable = error.kind() != Error::Kind::kSystem && part_->size_bytes() > 0 &&
                         !part_->record().validator.empty();
  if (!resumable || part_->Sync()) part_->Discard();
  return error;
}

Error Download::Fetch() {
  std::size_t retries = 0;
  std::int64_t furthest = part_->size_bytes();
  for (;;) {
    Request request(this);
    switch (request.Perform()) {
      case RequestOutcome::kComplete:
        if (IsUnspecific(content_type_)) request.CompleteName();
        return {};
      case RequestOutcome::kUnusable:
        if (Error error = part_->Restart({url_, "", "", 0})) return error;
        continue;
      case RequestOutcome::kTransient:
        break;
      default:
        return request.error();
    }
    if (part_->size_bytes() > furthest) {
      furthest = part_->size_bytes();
      retries = 0;
    }
    if (retries == limits_.retry_delays.size()) return request.error();
    Log(LogLevel::kInformation,
        "the download of " + part_->path() + " is retried: " + request.error().message());
    std::this_thread::sleep_for(limits_.retry_delays[retries++]);
  }
}

}  // namespace saltmoor::platform
