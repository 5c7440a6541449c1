#include "auth.h"

#include <vector>

#include "addresses.h"
#include "device_paths.h"
#include "log.h"
#include "pay_methods.h"
#include "saltmoor/utilities/url.h"
#include "tabulet.h"

namespace saltmoor::quire {
namespace {

constexpr char kSource[] = "quire_store/src/data/auth";
constexpr char kRun[] = "int saltmoor::quire::Auth::Run(const std::string &, const std::string &)";
constexpr LogPlace kEnded{kSource, 40, kRun};
constexpr LogPlace kNotStarted{kSource, 45, kRun};
constexpr LogPlace kUrlChanged{
    kSource, 66, "virtual void saltmoor::quire::Auth::UrlChanged(const std::string &)"};

std::vector<std::string> BrowserArguments(const std::string& pay_method) {
  ibitmap_s* const logo = GetResource("browser_quire", nullptr);
  if (pay_method == pay_methods::kCreditCard) return {"-wirecard"};
  if (pay_method != pay_methods::kPaypal) return {};
  if (logo == nullptr) return {"--paypal"};
  SaveBitmap(paths::kBrowserLogo, logo);
  return {"--paypal", "-img", paths::kBrowserLogo};
}

}  // namespace

Auth::Auth() : session_("quire", this), success_(false) {}

int Auth::Run(const std::string& url, const std::string& pay_method) {
  success_ = false;
  const auto arguments = BrowserArguments(pay_method);
  session_.browser_path_ = paths::kBrowser;
  const int rc = session_.Start(url, arguments);
  // Compatibility: logged for 0 too, which is no failure.
  if (rc != -1) Log(kLogError, kEnded, "err:[" + std::to_string(rc) + "] Authorize - failed");
  if (rc == -1 && !success_) Log(kLogError, kNotStarted, "Failed to log it");
  return rc;
}

bool Auth::IsRunning() {
  const std::lock_guard lock(session_.mutex_);
  return session_.running_;
}

void Auth::SetFocus() {
  session_.SetFocus();
}

void Auth::UrlChanged(const std::string& url) {
  Log(kLogInfo, kUrlChanged, "Auth::UrlChanged. url_string = [" + url + "]");
  // Compatibility: the marker counts anywhere in the URL.
  if (url.find(addresses::kReturnMarker) == std::string::npos) return;

  const auto fields = utilities::Url::ParseQuery(utilities::Url(url).GetQuery());
  const auto status = fields.find("status");
  success_ = status != fields.end() && status->second == "success";

  const std::lock_guard lock(session_.mutex_);
  session_.running_ = false;
}

void Auth::BrowserClosed() {}

}  // namespace saltmoor::quire
