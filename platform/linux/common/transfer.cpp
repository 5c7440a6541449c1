#include "platform/linux/common/transfer.h"

#include <openssl/ssl.h>
#include <strings.h>

#include <boost/algorithm/string/case_conv.hpp>
#include <ctime>
#include <locale>
#include <mutex>
#include <new>
#include <utility>

#include "platform/linux/common/log.h"
#include "platform/linux/common/settings.h"
#include "platform/linux/common/strings.h"
#include "saltmoor/utilities/http_request_runner.h"

namespace saltmoor::platform {

using saltmoor::utilities::HttpRequestRunner;

namespace {

constexpr long kMaxRedirects = 10;
constexpr std::size_t kMaxIdleHandles = 4;

using CurlString = std::unique_ptr<char, decltype(&curl_free)>;

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

CurlUrl NewUrl() {
  CurlUrl url(curl_url(), curl_url_cleanup);
  if (!url) throw std::bad_alloc();
  return url;
}

std::string GetUrlPart(const CurlUrl& url, CURLUPart part) {
  char* text = nullptr;
  curl_url_get(url.get(), part, &text, 0);
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

/// Called by libcurl for each new TLS context. libcurl itself writes the session's keys to the file
/// that the variable SSLKEYLOGFILE names.
[[maybe_unused]] CURLcode DisableKeyLog(CURL*, void* context, void*) {
  SSL_CTX_set_keylog_callback(static_cast<SSL_CTX*>(context), nullptr);
  return CURLE_OK;
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
#ifdef NDEBUG
  Set(CURLOPT_SSL_CTX_FUNCTION, &DisableKeyLog);
#endif
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
  const CurlUrl parsed = NewUrl();
  if (!IsHttpUrl(url) || url.find('\0') != std::string::npos ||
      curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), CURLU_URLENCODE) != CURLUE_OK) {
    setup_ = CURLE_URL_MALFORMAT;
    return;
  }
  const std::string scheme = GetUrlPart(parsed, CURLUPART_SCHEME);
  const std::string port = GetUrlPart(parsed, CURLUPART_PORT);
  host_ = GetUrlPart(parsed, CURLUPART_HOST);
  origin_ = scheme + "://" + host_ + (port.empty() ? "" : ":" + port);
  path_ = GetUrlPart(parsed, CURLUPART_PATH);
  Set(CURLOPT_URL, GetUrlPart(parsed, CURLUPART_URL).c_str());
  Set(CURLOPT_REDIR_PROTOCOLS_STR, scheme == "https" ? "https" : "http,https");
}

Error Transfer::Perform() {
  const CURLcode code = setup_ == CURLE_OK ? curl_easy_perform(handle_) : setup_;
  return code == CURLE_OK ? Error() : ToError(code);
}

long Transfer::redirect_count() const {
  long count = 0;
  curl_easy_getinfo(handle_, CURLINFO_REDIRECT_COUNT, &count);
  return count;
}

std::string Transfer::effective_url() const {
  const char* url = nullptr;
  curl_easy_getinfo(handle_, CURLINFO_EFFECTIVE_URL, &url);
  return url ? url : "";
}

CurlUrl Transfer::ParseEffectiveUrl() const {
  CurlUrl parsed = NewUrl();
  curl_url_set(parsed.get(), CURLUPART_URL, effective_url().c_str(), 0);
  return parsed;
}

std::string Transfer::effective_path() const {
  return GetUrlPart(ParseEffectiveUrl(), CURLUPART_PATH);
}

bool Transfer::LeavesHost() const {
  const std::string host = GetUrlPart(ParseEffectiveUrl(), CURLUPART_HOST);
  return bound_to_host_ && strcasecmp(host.c_str(), host_.c_str()) != 0;
}

void Transfer::StayOnHost() {
  bound_to_host_ = true;
  Set(CURLOPT_RESOLVER_START_FUNCTION, &Transfer::OnBeforeResolve);
  Set(CURLOPT_RESOLVER_START_DATA, static_cast<void*>(this));
}

/// Called by libcurl before connecting, unless it remembers the host's address. Without it a
/// redirect to a host that cannot be reached would count as a failure to connect.
int Transfer::OnBeforeResolve(void*, void*, void* self) {
  Transfer& transfer = *static_cast<Transfer*>(self);
  return CatchAtBoundary(1, [&] {
    if (!transfer.LeavesHost()) return 0;
    transfer.refusal_ = Refusal::kOtherHost;
    return 1;
  });
}

/// Decides whether the request that libcurl is going to send may be sent.
Transfer::Refusal Transfer::CheckRequest() {
  const CurlUrl url = ParseEffectiveUrl();
  const bool encrypted = GetUrlPart(url, CURLUPART_SCHEME) == "https";
  const bool was_encrypted = std::exchange(was_encrypted_, encrypted);
  redirects_sent_ = redirect_count();

  if (resend_disabled_ && ++send_count_ > 1 + redirects_sent_) return Refusal::kResend;
  // From https, also if it was reached by a redirect from http.
  if (was_encrypted && !encrypted) return Refusal::kClearText;
  return LeavesHost() ? Refusal::kOtherHost : Refusal::kNone;
}

/// Called by libcurl after connecting and before sending each request.
int Transfer::OnBeforeSend(void* self, char*, char*, int, int) {
  Transfer& transfer = *static_cast<Transfer*>(self);
  return CatchAtBoundary(CURL_PREREQFUNC_ABORT, [&] {
    transfer.refusal_ = transfer.CheckRequest();
    return transfer.refusal_ == Refusal::kNone ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
  });
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

std::map<std::string, std::string> Transfer::GetHeaders() const {
  std::map<std::string, std::string> headers;
  curl_header* header = nullptr;
  while ((header = curl_easy_nextheader(handle_, CURLH_HEADER, -1, header)) != nullptr) {
    std::string& value =
        headers[boost::algorithm::to_lower_copy(std::string(header->name), std::locale::classic())];
    value += (value.empty() ? "" : ", ") + std::string(header->value);
  }
  return headers;
}

Error Transfer::ToError(CURLcode code) const {
  using Runner = HttpRequestRunner;
  const auto error = [](Runner::Error cause, const char* text) {
    return Error::Transfer(cause, text);
  };
  switch (refusal_) {
    case Refusal::kResend:
      return error(Runner::kConnectionLost,
                   "the connection ended before the response; the request is not sent a second "
                   "time, because the server may have acted on it");
    case Refusal::kClearText:
      return error(Runner::kRedirectRefused,
                   "the server redirects from https to http, which is not followed");
    case Refusal::kOtherHost:
      return error(Runner::kRedirectRefused,
                   "the server redirects to another host, to which a form is not sent");
    case Refusal::kNone:
      break;
  }
  if (origin_.empty() && code == CURLE_URL_MALFORMAT) {
    return error(Runner::kInvalidRequest, "the URL is not an absolute http or https URL");
  }
  // libcurl uses the same code for a response that is not HTTP.
  if (code == CURLE_UNSUPPORTED_PROTOCOL && redirect_count() > redirects_sent_) {
    return error(Runner::kRedirectRefused,
                 "the server redirects to a URL that is not followed: only https is allowed, and "
                 "http if the request was http");
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
