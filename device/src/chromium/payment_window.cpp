#include "payment_window.h"

#include <iostream>
#include <utility>

#include "../text.h"
#include "../util.h"

namespace chromium {
namespace {

using nlohmann::json;
using JsonPointer = nlohmann::json::json_pointer;

// A new page is held until this program watches it, too.
const json kAttachToAll = {
    {"autoAttach", true}, {"waitForDebuggerOnStart", true}, {"flatten", true}};

const json kHoldDocuments = {
    {"patterns",
     {{{"urlPattern", "*"}, {"resourceType", "Document"}, {"requestStage", "Request"}}}}};

}  // namespace

PaymentWindow::PaymentWindow(DevtoolsPipe* devtools, std::string url, std::string title)
    : devtools_(devtools), url_(std::move(url)), title_(std::move(title)) {
  devtools_->Send("Target.setAutoAttach", kAttachToAll);
}

void PaymentWindow::Handle(const json& message) {
  const std::string method = message.value("method", "");
  const json params = message.value("params", json::object());
  const std::string session = message.value("sessionId", "");
  if (method.empty() && !opened_ && message.value("id", json()) == setup_id_) {
    opened_ = true;
    devtools_->Send("Page.navigate", {{"url", url_}}, session);
  } else if (method == "Target.attachedToTarget") {
    OnAttached(params);
  } else if (method == "Target.detachedFromTarget") {
    page_sessions_.erase(params.value("sessionId", ""));
  } else if (method == "Fetch.requestPaused") {
    OnRequestPaused(params, session);
  } else if (method == "Inspector.targetCrashed" || method == "Target.targetCrashed") {
    crashed_ = true;
  }
}

void PaymentWindow::OnAttached(const json& params) {
  const std::string session = params.value("sessionId", "");
  if (params.value(JsonPointer("/targetInfo/type"), "") == "page") {
    page_sessions_.insert(session);
    main_frames_.insert(params.value(JsonPointer("/targetInfo/targetId"), ""));
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
  const std::string url = params.value(JsonPointer("/request/url"), "");
  const bool top_level = main_frames_.contains(params.value("frameId", ""));
  if (top_level && IsWebUrl(url)) std::cout << MakePrintable(url) << std::endl;
  devtools_->Send("Fetch.continueRequest", {{"requestId", params.value("requestId", "")}}, session);
}

}  // namespace chromium
