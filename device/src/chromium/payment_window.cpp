#include "payment_window.h"

#include <utility>

namespace chromium {
namespace {

using nlohmann::json;

/// Empty where there is no such text.
std::string Text(const json& object, const char* key) {
  const auto found = object.find(key);
  return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

json Object(const json& object, const char* key) {
  const auto found = object.find(key);
  return found != object.end() && found->is_object() ? *found : json::object();
}

// Pages that open pages are held until we watch the new one too.
const json kAttachToAll = {
    {"autoAttach", true}, {"waitForDebuggerOnStart", true}, {"flatten", true}};

const json kHoldDocuments = {
    {"patterns",
     {{{"urlPattern", "*"}, {"resourceType", "Document"}, {"requestStage", "Request"}}}}};

}  // namespace

PaymentWindow::PaymentWindow(Devtools* devtools, std::string address, std::string title,
                             std::function<void(const std::string&)> going_to)
    : devtools_(devtools),
      address_(std::move(address)),
      title_(std::move(title)),
      going_to_(std::move(going_to)) {
  devtools_->Send("Target.setAutoAttach", kAttachToAll);
}

void PaymentWindow::Handle(const json& message) {
  const std::string method = Text(message, "method");
  const json params = Object(message, "params");
  const std::string session = Text(message, "sessionId");
  if (method.empty() && !opened_ && message.value("id", json()) == prepared_by_) {
    opened_ = true;
    devtools_->Send("Page.navigate", {{"url", address_}}, session);
  } else if (method == "Target.attachedToTarget") {
    Attached(params);
  } else if (method == "Target.detachedFromTarget") {
    pages_.erase(Text(params, "sessionId"));
  } else if (method == "Fetch.requestPaused") {
    RequestPaused(params, session);
  } else if (method == "Inspector.targetCrashed" || method == "Target.targetCrashed") {
    crashed_ = true;
  }
}

void PaymentWindow::Attached(const json& params) {
  const std::string session = Text(params, "sessionId");
  const json target = Object(params, "targetInfo");
  if (Text(target, "type") == "page") {
    pages_.insert(session);
    frames_.insert(Text(target, "targetId"));
    devtools_->Send("Fetch.enable", kHoldDocuments, session);
    devtools_->Send("Inspector.enable", json::object(), session);
    devtools_->Send("Page.enable", json::object(), session);
    const std::string script = "addEventListener('DOMContentLoaded', () => { document.title = " +
                               json(title_ + " \u2013 ").dump() + " + document.title; });";
    const int prepared_by =
        devtools_->Send("Page.addScriptToEvaluateOnNewDocument", {{"source", script}}, session);
    if (prepared_by_ == 0) prepared_by_ = prepared_by;
    devtools_->Send("Target.setAutoAttach", kAttachToAll, session);
  }
  devtools_->Send("Runtime.runIfWaitingForDebugger", json::object(), session);
}

void PaymentWindow::RequestPaused(const json& params, const std::string& session) {
  const std::string address = Text(Object(params, "request"), "url");
  const bool top_level = frames_.contains(Text(params, "frameId"));
  const bool web = address.starts_with("http://") || address.starts_with("https://");
  if (top_level && web) going_to_(address);
  devtools_->Send("Fetch.continueRequest", {{"requestId", Text(params, "requestId")}}, session);
}

}  // namespace chromium
