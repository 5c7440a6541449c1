#include "payment_window.h"

#include <utility>

#include "../string_util.h"

namespace chromium {
namespace {

using nlohmann::json;

/// Empty if the member is missing or not a string.
std::string GetString(const json& object, const char* key) {
  const auto found = object.find(key);
  return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

/// Empty if the member is missing or not an object.
json GetObject(const json& object, const char* key) {
  const auto found = object.find(key);
  return found != object.end() && found->is_object() ? *found : json::object();
}

// A new page is held until this program watches it, too.
const json kAttachToAll = {
    {"autoAttach", true}, {"waitForDebuggerOnStart", true}, {"flatten", true}};

const json kHoldDocuments = {
    {"patterns",
     {{{"urlPattern", "*"}, {"resourceType", "Document"}, {"requestStage", "Request"}}}}};

}  // namespace

PaymentWindow::PaymentWindow(DevtoolsPipe* devtools, std::string url, std::string title,
                             std::function<void(const std::string&)> on_url)
    : devtools_(devtools),
      url_(std::move(url)),
      title_(std::move(title)),
      on_url_(std::move(on_url)) {
  devtools_->Send("Target.setAutoAttach", kAttachToAll);
}

void PaymentWindow::Handle(const json& message) {
  const std::string method = GetString(message, "method");
  const json params = GetObject(message, "params");
  const std::string session = GetString(message, "sessionId");
  if (method.empty() && !opened_ && message.value("id", json()) == setup_id_) {
    opened_ = true;
    devtools_->Send("Page.navigate", {{"url", url_}}, session);
  } else if (method == "Target.attachedToTarget") {
    OnAttached(params);
  } else if (method == "Target.detachedFromTarget") {
    page_sessions_.erase(GetString(params, "sessionId"));
  } else if (method == "Fetch.requestPaused") {
    OnRequestPaused(params, session);
  } else if (method == "Inspector.targetCrashed" || method == "Target.targetCrashed") {
    crashed_ = true;
  }
}

void PaymentWindow::OnAttached(const json& params) {
  const std::string session = GetString(params, "sessionId");
  const json target = GetObject(params, "targetInfo");
  if (GetString(target, "type") == "page") {
    page_sessions_.insert(session);
    main_frames_.insert(GetString(target, "targetId"));
    devtools_->Send("Fetch.enable", kHoldDocuments, session);
    devtools_->Send("Inspector.enable", json::object(), session);
    devtools_->Send("Page.enable", json::object(), session);
    const std::string script = "addEventListener('DOMContentLoaded', () => { document.title = " +
                               json(title_ + " \u2013 ").dump() + " + document.title; });";
    const int setup_id =
        devtools_->Send("Page.addScriptToEvaluateOnNewDocument", {{"source", script}}, session);
    if (setup_id_ == 0) setup_id_ = setup_id;
    devtools_->Send("Target.setAutoAttach", kAttachToAll, session);
  }
  devtools_->Send("Runtime.runIfWaitingForDebugger", json::object(), session);
}

void PaymentWindow::OnRequestPaused(const json& params, const std::string& session) {
  const std::string url = GetString(GetObject(params, "request"), "url");
  const bool top_level = main_frames_.contains(GetString(params, "frameId"));
  if (top_level && IsWebUrl(url)) on_url_(url);
  devtools_->Send("Fetch.continueRequest", {{"requestId", GetString(params, "requestId")}},
                  session);
}

}  // namespace chromium
