#include "platform/linux/common/transfer.h"

#include <openssl/ssl.h>
#include <strings.h>

#include <ctime>
#include <mutex>
#include <new>

#include "platform/linux/common/settings.h"
#include "platform/linux/common/strings.h"
#include "saltmoor/utilities/http_request_runner.h"

namespace saltmoor::platform {

using saltmoor::utilities::HttpRequestRunner;

namespace {

constexpr long kMaxRedirects = 10;
constexpr std::size_t kMaxIdleHandles = 4;

using CurlString = std::unique_ptr<char, decltype(&curl_free)>;
using CurlUrl = std::unique_ptr<CURLU, decltype(&curl_url_cleanup)>;

/// Idle handles. A new handle costs a TLS handshake and reading all certificates, so handles are
/// reused, the last used one first. Thread-safe.
class HandlePool {
 public:
  static HandlePool& Instance() {
    // Never destroyed: a program's static objects may wait for a download when it exits.
    static HandlePool& pool = *new HandlePool;
    return pool;
  }

  CURL* Acquire() {
    const std::lock_guard<std::mutex> lock(mutex_);
    CURL* handle = idle_.empty() ? curl_easy_init() : idle_.back();
    if (!handle) throw std::bad_alloc();
    if (!idle_.empty()) idle_.pop_back();
    return handle;
  }

  void Release(CURL* handle) {
    curl_easy_reset(handle);  // keeps the connections
    const std::lock_guard<std::mutex> lock(mutex_);
    if (idle_.size() < kMaxIdleHandles) {
      idle_.push_back(handle);
    } else {
      curl_easy_cleanup(handle);
    }
  }

 private:
  HandlePool() {
    // For the same reason OpenSSL must not clean up at exit.
    OPENSSL_init_ssl(OPENSSL_INIT_NO_ATEXIT, nullptr);
    curl_global_init(CURL_GLOBAL_DEFAULT);
    idle_.reserve(kMaxIdleHandles);
  }

  std::mutex mutex_;
  std::vector<CURL*> idle_;
};

std::string GetUrlPart(CURLU* url, CURLUPart part) {
  char* text = nullptr;
  curl_url_get(url, part, &text, 0);
  const CurlString owner(text, curl_free);
  return text ? text : "";
}

std::string FormatDate(std::time_t time) {
  std::tm day{};
  char text[] = "0000-00-00";
  gmtime_r(&time, &day);
  std::strftime(text, sizeof text, "%Y-%m-%d", &day);
  return text;
}

/// What the user can do about a refused certificate.
std::string CertificateHint(long verify_result) {
  const std::time_t now = std::time(nullptr);
  if (verify_result == X509_V_ERR_CERT_NOT_YET_VALID && now < PLATFORM_BUILD_TIME) {
    return "; the device's clock says " + FormatDate(now) +
           ", which is before this software was built: set the clock";
  }
  if (verify_result == X509_V_ERR_CERT_NOT_YET_VALID ||
      verify_result == X509_V_ERR_CERT_HAS_EXPIRED) {
    return "; the device's clock says " + FormatDate(now);
  }
  if (verify_result != X509_V_OK && !GetSettings().ca_file.empty()) {
    return "; only the authorities in " + GetSettings().ca_file + " are trusted (TABULET_CA_FILE)";
  }
  return "";
}

/// The contract's error for a result of libcurl.
HttpRequestRunner::Error Classify(CURLcode code) {
  switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
      return HttpRequestRunner::kNameNotFound;
    case CURLE_COULDNT_CONNECT:
      return HttpRequestRunner::kConnectionRefused;
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_BAD_CONTENT_ENCODING:
      return HttpRequestRunner::kInvalidAnswer;
    case CURLE_OPERATION_TIMEDOUT:
      return HttpRequestRunner::kTimedOut;
    case CURLE_SSL_CONNECT_ERROR:
      return HttpRequestRunner::kTlsFailed;
    case CURLE_URL_MALFORMAT:  // of a redirect
    case CURLE_TOO_MANY_REDIRECTS:
      return HttpRequestRunner::kRedirectRefused;
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
      return HttpRequestRunner::kConnectionLost;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
      return HttpRequestRunner::kCertificateNotTrusted;
    default:
      return HttpRequestRunner::kOther;
  }
}

}  // namespace

bool CurlList::Append(const std::string& text) {
  curl_slist* longer = curl_slist_append(list_.get(), text.c_str());
  if (!longer) return false;
  static_cast<void>(list_.release());  // part of the longer list now
  list_.reset(longer);
  return true;
}

Transfer::Transfer() : handle_(HandlePool::Instance().Acquire()) {
  Set(CURLOPT_ERRORBUFFER, error_);
  Set(CURLOPT_NOSIGNAL, 1L);
  Set(CURLOPT_QUICK_EXIT, 1L);  // do not wait for a slow name server after the time limit
  Set(CURLOPT_PROXY, "");
  Set(CURLOPT_PROTOCOLS_STR, "http,https");
  Set(CURLOPT_MAXREDIRS, kMaxRedirects);
  // HTTP/2 has no advantage for one request at a time.
  Set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  Set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  Set(CURLOPT_SSL_VERIFYPEER, 1L);
  Set(CURLOPT_SSL_VERIFYHOST, 2L);
  Set(CURLOPT_PREREQFUNCTION, &Transfer::OnBeforeSend);
  Set(CURLOPT_PREREQDATA, static_cast<void*>(this));

  const Settings& settings = GetSettings();
  if (!settings.ca_file.empty()) {
    Set(CURLOPT_CAINFO, settings.ca_file.c_str());
    Set(CURLOPT_CAPATH, nullptr);
  }
  for (const ConnectTo& connect_to : settings.connect_to) {
    if (!connect_to_.Append(connect_to.entry)) setup_ = CURLE_OUT_OF_MEMORY;
  }
  Set(CURLOPT_CONNECT_TO, connect_to_.get());
}

Transfer::~Transfer() {
  HandlePool::Instance().Release(handle_);
}

void Transfer::SetUrl(const std::string& url) {
  const CurlUrl parsed(curl_url(), curl_url_cleanup);
  if (!parsed) throw std::bad_alloc();
  if (!IsHttpUrl(url) || url.find('\0') != std::string::npos ||
      curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), CURLU_URLENCODE) != CURLUE_OK) {
    setup_ = CURLE_URL_MALFORMAT;
    return;
  }
  const std::string scheme = GetUrlPart(parsed.get(), CURLUPART_SCHEME);
  const std::string port = GetUrlPart(parsed.get(), CURLUPART_PORT);
  origin_ =
      scheme + "://" + GetUrlPart(parsed.get(), CURLUPART_HOST) + (port.empty() ? "" : ":" + port);
  path_ = GetUrlPart(parsed.get(), CURLUPART_PATH);
  Set(CURLOPT_URL, GetUrlPart(parsed.get(), CURLUPART_URL).c_str());
  Set(CURLOPT_REDIR_PROTOCOLS_STR, scheme == "https" ? "https" : "http,https");
}

Error Transfer::Perform() {
  const CURLcode code = setup_ == CURLE_OK ? curl_easy_perform(handle_) : setup_;
  return code == CURLE_OK ? Error() : ToError(code);
}

/// Called by libcurl after connecting and before sending each request.
int Transfer::OnBeforeSend(void* self, char*, char*, int, int) {
  Transfer& transfer = *static_cast<Transfer*>(self);
  long redirects = 0;
  const char* scheme = nullptr;
  curl_easy_getinfo(transfer.handle_, CURLINFO_REDIRECT_COUNT, &redirects);
  curl_easy_getinfo(transfer.handle_, CURLINFO_SCHEME, &scheme);
  const bool encrypted = scheme && strcasecmp(scheme, "https") == 0;

  if (transfer.resend_disabled_ && ++transfer.send_count_ > 1 + redirects) {
    transfer.refusal_ = Refusal::kResend;
  } else if (transfer.was_encrypted_ && !encrypted) {
    transfer.refusal_ = Refusal::kClearText;  // http to https to http
  }
  transfer.was_encrypted_ = encrypted;
  return transfer.refusal_ == Refusal::kNone ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
}

int Transfer::status() const {
  long status = 0;
  curl_easy_getinfo(handle_, CURLINFO_RESPONSE_CODE, &status);
  return static_cast<int>(status);
}

std::int64_t Transfer::content_length() const {
  curl_off_t length = -1;
  curl_easy_getinfo(handle_, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
  return length;
}

std::string Transfer::GetHeader(const char* name) const {
  curl_header* header = nullptr;
  const CURLHcode code = curl_easy_header(handle_, name, 0, CURLH_HEADER, -1, &header);
  return code == CURLHE_OK ? header->value : "";
}

Error Transfer::ToError(CURLcode code) const {
  using Runner = HttpRequestRunner;
  if (refusal_ == Refusal::kResend) {
    return Error::Transfer(Runner::kConnectionLost,
                           "the connection ended before the response; the request is not sent a "
                           "second time, because the server may have acted on it");
  }
  if (refusal_ == Refusal::kClearText) {
    return Error::Transfer(Runner::kRedirectRefused,
                           "the server redirects from https to http, which is not followed");
  }
  if (origin_.empty() && code == CURLE_URL_MALFORMAT) {
    return Error::Transfer(Runner::kInvalidRequest, "the URL is not an absolute http or https URL");
  }
  // libcurl uses the same code for a response that is not HTTP.
  if (code == CURLE_UNSUPPORTED_PROTOCOL && status() / 100 == 3) {
    return Error::Transfer(Runner::kRedirectRefused,
                           "the server redirects to a URL that is not followed: only https is "
                           "allowed, and http if the request was http");
  }
  std::string text = *error_ ? error_ : curl_easy_strerror(code);
  if (code == CURLE_PEER_FAILED_VERIFICATION) {
    long verify_result = X509_V_OK;
    curl_easy_getinfo(handle_, CURLINFO_SSL_VERIFYRESULT, &verify_result);
    text += CertificateHint(verify_result);
  }
  return Error::Transfer(Classify(code), std::move(text));
}

std::string EncodeFields(const std::vector<std::pair<std::string, std::string>>& fields) {
  const auto encode = [](const std::string& text) -> std::string {
    if (text.empty()) return "";  // for libcurl a length of 0 means strlen
    const CurlString encoded(curl_easy_escape(nullptr, text.data(), static_cast<int>(text.size())),
                             curl_free);
    if (!encoded) throw std::bad_alloc();
    return encoded.get();
  };
  std::string joined;
  for (const auto& [key, value] : fields) {
    if (!joined.empty()) joined += '&';
    joined += encode(key) + '=' + encode(value);
  }
  return joined;
}

}  // namespace saltmoor::platform
