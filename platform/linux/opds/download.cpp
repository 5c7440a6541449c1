#include "platform/linux/opds/download.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <thread>
#include <utility>

#include "platform/linux/common/log.h"
#include "platform/linux/common/transfer.h"
#include "platform/linux/opds/content_range.h"

namespace saltmoor::platform {
namespace {

using Clock = std::chrono::steady_clock;

// How much of a download a power cut may cost.
constexpr std::chrono::seconds kSyncInterval{1};

/// The one place that says which failures of the network may pass by themselves.
bool IsTransient(CURLcode code) {
  switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
    case CURLE_GOT_NOTHING:
    case CURLE_OPERATION_TIMEDOUT:
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_SSL_CONNECT_ERROR:  // a reset in the handshake; a bad certificate is another
      return true;
    default:
      return false;
  }
}

bool IsTransient(int http_status) {
  return http_status >= 500 || http_status == 408 || http_status == 429;
}

/// What a later request can name this version by: a strong ETag, or a date that lies before the
/// answer's own, since two versions can fall into one second.
std::string GetValidator(const Transfer& transfer) {
  const char* etag = transfer.Header("ETag");
  if (etag && *etag == '"') return etag;
  const char* modified = transfer.Header("Last-Modified");
  const char* date = transfer.Header("Date");
  if (!modified || (date && curl_getdate(modified, nullptr) >= curl_getdate(date, nullptr))) {
    return "";
  }
  return modified;
}

/// Whether the answer, if it names its version at all, names the record's.
bool MatchesVersion(const std::string& validator, const Transfer& transfer) {
  const char* named = transfer.Header(validator.front() == '"' ? "ETag" : "Last-Modified");
  return !named || validator == named;
}

}  // namespace

/// One request and what became of it.
class Download::Request {
 public:
  enum class Outcome {
    kUndecided,  ///< no head has come yet
    kBody,       ///< the bytes that come belong into the part
    kWhole,      ///< the file is there, all of it
    kUnusable,   ///< the part is of no use: begin anew
    kPassing,    ///< failed; another try may do better
    kPermanent,  ///< failed; another try would fail too
  };

  explicit Request(Download* download)
      : download_(*download),
        part_(*download->part_),
        offset_(part_.record().validator.empty() ? 0 : part_.size_bytes()) {}

  Outcome Perform();
  const Error& error() const { return error_; }

 private:
  void HandleHeaders();
  void BeginFile();
  void ExpectBody(std::int64_t total);
  Outcome ClassifyResult(CURLcode code);
  Outcome Fail(Outcome outcome, Error error);
  static std::size_t OnHeader(char*, std::size_t, std::size_t size, void* self) noexcept;
  static std::size_t Receive(char* bytes, std::size_t, std::size_t size, void* self) noexcept;
  static int OnProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t) noexcept;

  Download& download_;
  PartFile& part_;
  Transfer transfer_;
  const std::int64_t offset_;  // where the part is to be gone on with; 0: from the start
  std::int64_t total_ = 0;
  Clock::time_point last_byte_ = Clock::now();
  Clock::time_point last_sync_ = last_byte_;
  Outcome outcome_ = Outcome::kUndecided;
  Error error_;
};

Download::Request::Outcome Download::Request::Perform() {
  transfer_.SetUrl(download_.address_);
  transfer_.Set(CURLOPT_FOLLOWLOCATION, 1L);
  transfer_.Set(CURLOPT_CONNECTTIMEOUT, static_cast<long>(download_.limits_.connect_s));
  transfer_.Set(CURLOPT_HEADERFUNCTION, &Request::OnHeader);
  transfer_.Set(CURLOPT_HEADERDATA, static_cast<void*>(this));
  transfer_.Set(CURLOPT_WRITEFUNCTION, &Request::Receive);
  transfer_.Set(CURLOPT_WRITEDATA, static_cast<void*>(this));
  transfer_.Set(CURLOPT_NOPROGRESS, 0L);
  transfer_.Set(CURLOPT_XFERINFOFUNCTION, &Request::OnProgress);
  transfer_.Set(CURLOPT_XFERINFODATA, static_cast<void*>(this));
  CurlList fields;
  if (offset_ > 0) {
    // Not CURLOPT_RESUME_FROM: libcurl would judge the answer by rules of its own.
    transfer_.Set(CURLOPT_RANGE, (std::to_string(offset_) + '-').c_str());
    if (!fields.Append("If-Range: " + part_.record().validator)) throw std::bad_alloc();
    transfer_.Set(CURLOPT_HTTPHEADER, fields.get());
  }

  const CURLcode code = transfer_.Perform();
  download_.http_status_ = transfer_.Status();
  if (code == CURLE_OK && outcome_ == Outcome::kUndecided) HandleHeaders();  // there was no body
  return ClassifyResult(code);
}

Download::Request::Outcome Download::Request::Fail(Outcome outcome, Error error) {
  error_ = std::move(error);
  return outcome_ = outcome;
}

/// Looks at the answer's head, before the first byte of its body is written anywhere.
void Download::Request::HandleHeaders() {
  const int status = transfer_.Status();
  if (status == 200) return BeginFile();

  const bool resuming = offset_ > 0 && (status == 206 || status == 416);
  if (!resuming) {
    const char* content_type = transfer_.Header("Content-Type");
    download_.content_type_ = content_type ? content_type : "";
    Fail(IsTransient(status) ? Outcome::kPassing : Outcome::kPermanent,
         Error::Transfer(CURLE_HTTP_RETURNED_ERROR,
                         "the server answers with status " + std::to_string(status)));
    return;
  }

  // What an answer to a range says of itself is the part's business, or that of an error page.
  const PartRecord& record = part_.record();
  download_.content_type_ = record.content_type;
  ContentRange range;
  ParseContentRange(transfer_.Header("Content-Range"), &range);
  const bool same_file = MatchesVersion(record.validator, transfer_) && range.total > 0 &&
                         (record.total_bytes == 0 || record.total_bytes == range.total);
  if (same_file && status == 206 && range.first == offset_) {
    ExpectBody(range.total);
  } else if (same_file && status == 416 && range.total == offset_) {
    outcome_ = Outcome::kWhole;
  } else {
    outcome_ = Outcome::kUnusable;
  }
}

/// A 200: the file comes from its first byte, whatever was asked for.
void Download::Request::BeginFile() {
  const char* encoding = transfer_.Header("Content-Encoding");
  if (encoding && std::strcmp(encoding, "identity") != 0) {
    Fail(Outcome::kPermanent,
         Error::InvalidData("the server packs the file, which was not asked for"));
    return;
  }
  const char* content_type = transfer_.Header("Content-Type");
  download_.content_type_ = content_type ? content_type : "";
  const std::int64_t length = std::max<std::int64_t>(transfer_.ContentLength(), 0);
  Error error =
      part_.Restart({download_.address_, GetValidator(transfer_), download_.content_type_, length});
  if (error) {
    Fail(Outcome::kPermanent, std::move(error));
  } else {
    ExpectBody(length);
  }
}

void Download::Request::ExpectBody(std::int64_t total) {
  if (total - part_.size_bytes() > part_.AvailableBytes()) {
    Fail(Outcome::kPermanent, Error::System(ENOSPC, "cannot write " + part_.path()));
    return;
  }
  outcome_ = Outcome::kBody;
  total_ = total;
  download_.progress_(part_.size_bytes(), total_);
}

/// Called by libcurl with each line of an answer's head.
std::size_t Download::Request::OnHeader(char*, std::size_t, std::size_t size, void* self) noexcept {
  static_cast<Request*>(self)->last_byte_ = Clock::now();
  return size;
}

/// Called by libcurl with the next bytes of an answer, whatever its status.
std::size_t Download::Request::Receive(char* bytes, std::size_t, std::size_t size,
                                       void* self) noexcept try {
  Request& request = *static_cast<Request*>(self);
  PartFile& part = request.part_;
  request.last_byte_ = Clock::now();
  if (request.outcome_ == Outcome::kUndecided) request.HandleHeaders();
  if (request.outcome_ != Outcome::kBody) return 0;
  if (request.total_ > 0 && static_cast<std::int64_t>(size) > request.total_ - part.size_bytes()) {
    request.outcome_ = Outcome::kUnusable;
    return 0;
  }
  if (Error error = part.Append(bytes, size)) {
    request.Fail(Outcome::kPermanent, std::move(error));
    return 0;
  }
  request.download_.progress_(part.size_bytes(), request.total_);
  return size;
} catch (const std::exception&) {
  return 0;
}

/// Called by libcurl at least once a second, also while nothing comes. libcurl's own limit on low
/// speed takes an average, which lets a silent server go on for seconds longer.
int Download::Request::OnProgress(void* self, curl_off_t, curl_off_t, curl_off_t,
                                  curl_off_t) noexcept try {
  Request& request = *static_cast<Request*>(self);
  const Clock::time_point now = Clock::now();
  const int stall_s = request.download_.limits_.stall_s;
  if (now - request.last_byte_ >= std::chrono::seconds(stall_s)) {
    request.Fail(Outcome::kPassing, Error::Transfer(CURLE_OPERATION_TIMEDOUT,
                                                    "the server has sent nothing for " +
                                                        std::to_string(stall_s) + " seconds"));
    return 1;
  }
  if (request.part_.synced() || now - request.last_sync_ < kSyncInterval) return 0;
  request.last_sync_ = now;
  Error error = request.part_.Sync();
  // Where the server told no size, the room shows only now.
  if (!error && request.part_.AvailableBytes() < 0) {
    error = Error::System(ENOSPC, "cannot write " + request.part_.path());
  }
  if (!error) return 0;
  request.Fail(Outcome::kPermanent, std::move(error));
  return 1;
} catch (const std::exception&) {
  return 1;
}

Download::Request::Outcome Download::Request::ClassifyResult(CURLcode code) {
  if (error_ || outcome_ == Outcome::kUnusable || outcome_ == Outcome::kWhole) return outcome_;
  if (code != CURLE_OK) {
    return Fail(IsTransient(code) ? Outcome::kPassing : Outcome::kPermanent,
                Error::Transfer(code, transfer_.Explain(code)));
  }
  if (total_ > 0 && part_.size_bytes() != total_) {
    return Fail(Outcome::kPassing,
                Error::Transfer(CURLE_PARTIAL_FILE, "the server sends less than it announced"));
  }
  return outcome_ = Outcome::kWhole;
}

Download::Download(PartFile* part, std::string address, Progress progress, DownloadLimits limits)
    : part_(part),
      address_(std::move(address)),
      progress_(std::move(progress)),
      limits_(std::move(limits)) {}

Error Download::Run() {
  Error error = Fetch();
  if (!error) error = part_->Finish();
  if (!error) return {};
  // Nothing that the disk has failed on is trusted, and on a full one a part starves all else.
  const bool resumable = error.kind() != Error::Kind::kSystem && part_->size_bytes() > 0 &&
                         !part_->record().validator.empty();
  if (!resumable || part_->Sync()) part_->Discard();
  return error;
}

Error Download::Fetch() {
  std::size_t pauses_taken = 0;
  std::int64_t furthest = part_->size_bytes();
  for (;;) {
    Request request(this);
    switch (request.Perform()) {
      case Request::Outcome::kWhole:
        return {};
      case Request::Outcome::kUnusable:
        if (Error error = part_->Restart({address_, "", "", 0})) return error;
        continue;
      case Request::Outcome::kPassing:
        break;
      default:
        return request.error();
    }
    if (part_->size_bytes() > furthest) {
      furthest = part_->size_bytes();
      pauses_taken = 0;
    }
    if (pauses_taken == limits_.pauses.size()) return request.error();
    Log(LogLevel::kInformation,
        "the download of " + part_->path() + " is tried again: " + request.error().message());
    std::this_thread::sleep_for(limits_.pauses[pauses_taken++]);
  }
}

}  // namespace saltmoor::platform
