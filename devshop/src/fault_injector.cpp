#include "fault_injector.h"

#include <fnmatch.h>

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "store_api.h"

namespace devshop {
namespace {

constexpr std::array<std::pair<const char*, FaultKind>, 7> kKinds{
    {{"refuse", FaultKind::kRefuse},
     {"status", FaultKind::kStatus},
     {"body", FaultKind::kBody},
     {"hang", FaultKind::kHang},
     {"slow", FaultKind::kSlow},
     {"truncate", FaultKind::kTruncate},
     {"reset", FaultKind::kReset}}};

constexpr int kDefaultHang_ms = 60'000;
constexpr int kDefaultSlow_ms = 100;
constexpr char kRefusal[] = "The shop refuses this call.";
// fnmatch backtracks: its time grows fast with both limits.
constexpr std::size_t kMaxPattern_bytes = 200;
constexpr int kMaxPatternAsterisks = 4;

struct IntegerRange {
  const char* name;
  int min;
  int max;
};

constexpr int kMaxInteger = std::numeric_limits<int>::max();
constexpr std::array<IntegerRange, 5> kIntegers{{{"status", 200, 599},
                                                 {"after_bytes", 0, kMaxInteger},
                                                 {"delay_ms", 0, 3'600'000},
                                                 {"times", 1, kMaxInteger},
                                                 {"skip", 0, kMaxInteger}}};

bool IsBounded(const std::string& pattern) {
  return pattern.size() <= kMaxPattern_bytes &&
         std::count(pattern.begin(), pattern.end(), '*') <= kMaxPatternAsterisks;
}

void CheckField(const std::string& name, const Json& value) {
  const auto range = std::find_if(kIntegers.begin(), kIntegers.end(),
                                  [&](const IntegerRange& row) { return name == row.name; });
  if (range != kIntegers.end()) {
    if (value.is_number_integer() && value >= range->min && value <= range->max) return;
    throw InvalidControlRequest("\"" + name + "\" is an integer from " +
                                std::to_string(range->min) + " to " + std::to_string(range->max) +
                                ".");
  }
  if (name == "headers") {
    const bool valid =
        value.is_object() &&
        std::all_of(value.begin(), value.end(), [](const Json& v) { return v.is_string(); });
    if (!valid) throw InvalidControlRequest("\"headers\" is an object of strings.");
  } else if (name != "path" && name != "fault" && name != "body") {
    throw InvalidControlRequest("Unknown field \"" + name +
                                "\"; a fault has path, fault, status, body, headers, after_bytes, "
                                "delay_ms, times, skip.");
  } else if (!value.is_string()) {
    throw InvalidControlRequest("\"" + name + "\" is a string.");
  } else if (name == "path" && !IsBounded(value.get<std::string>())) {
    throw InvalidControlRequest("\"path\" must have at most " + std::to_string(kMaxPattern_bytes) +
                                " bytes and " + std::to_string(kMaxPatternAsterisks) +
                                " asterisks.");
  }
}

FaultKind ParseKind(const std::string& name) {
  std::string names;
  for (const auto& [known, kind] : kKinds) {
    if (name == known) return kind;
    names += (names.empty() ? "" : ", ") + std::string(known);
  }
  throw InvalidControlRequest("Unknown fault \"" + name + "\"; there are " + names + ".");
}

void SetHeaders(const Json& fields, Response& response) {
  const Json headers = fields.value("headers", Json::object());
  for (const auto& [name, value] : headers.items()) response.SetHeader(name, value);
}

}  // namespace

Json FaultInjector::Arm(const Json& fields) {
  if (!fields.is_object()) throw InvalidControlRequest("A fault is a JSON object.");
  for (const auto& [name, value] : fields.items()) CheckField(name, value);
  for (const char* name : {"path", "fault"}) {
    if (fields.value(name, "").empty()) {
      throw InvalidControlRequest("\"" + std::string(name) + "\" is missing.");
    }
  }
  const FaultKind kind = ParseKind(fields["fault"]);
  const std::lock_guard lock(mutex_);
  return faults_
      .emplace_back(
          Fault{++armed_, kind, fields, fields.value("times", 1), fields.value("skip", 0)})
      .ToJson();
}

Json FaultInjector::Fault::ToJson() const {
  Json json = fields;
  json.update({{"id", id}, {"skip", skip}, {"left", left}, {"delivered", delivered}});
  return json;
}

std::optional<FaultInjector::Fault> FaultInjector::UseMatching(const std::string& path) {
  const std::lock_guard lock(mutex_);
  for (Fault& fault : faults_) {
    if (fault.left == 0) continue;
    const std::string pattern = "*" + fault.fields["path"].get<std::string>();
    if (fnmatch(pattern.c_str(), path.c_str(), 0) != 0) continue;
    if (fault.skip > 0) {
      --fault.skip;
      continue;
    }
    --fault.left;
    return fault;
  }
  return std::nullopt;
}

void FaultInjector::CountDelivered(int id) {
  const std::lock_guard lock(mutex_);
  for (Fault& fault : faults_) fault.delivered += fault.id == id ? 1 : 0;
}

Json FaultInjector::ToJson() const {
  const std::lock_guard lock(mutex_);
  Json list = Json::array();
  int delivered = 0;
  for (const Fault& fault : faults_) {
    list.push_back(fault.ToJson());
    delivered += fault.delivered;
  }
  return {{"faults", std::move(list)}, {"delivered", delivered}};
}

void FaultInjector::Clear() {
  const std::lock_guard lock(mutex_);
  faults_.clear();
}

void FaultInjector::Handle(const std::string& port, const HttpServer::Handler& site,
                           const Request& request, Response& response) {
  log_.Add(port, request);
  response.on_send = [this, connection = request.connection](int status) {
    log_.SetStatus(connection, status);
  };
  if (const auto fault = UseMatching(request.path)) {
    log_.SetFault(request.connection, fault->fields["fault"]);
    Apply(*fault, site, request, response);
  } else {
    site(request, response);
  }
}

void FaultInjector::Apply(const Fault& fault, const HttpServer::Handler& site,
                          const Request& request, Response& response) {
  const Json& fields = fault.fields;
  const auto count_delivered = [this, id = fault.id] { CountDelivered(id); };
  const auto serve_with_fault = [&](ResponseFault::Kind kind) {
    response.fault = {kind, fields.value("after_bytes", std::size_t{0}),
                      fields.value("delay_ms", kDefaultSlow_ms), count_delivered};
    site(request, response);
  };
  switch (fault.kind) {
    case FaultKind::kRefuse:
      response.SetContent(ToString(RefusalToJson(request.path, fields.value("body", kRefusal))),
                          "application/json");
      break;
    case FaultKind::kStatus:
      response.status = fields.value("status", 503);
      response.SetContent(fields.value("body", ""), "text/plain");
      SetHeaders(fields, response);
      break;
    case FaultKind::kBody:
      response.SetContent(fields.value("body", ""), "application/json");
      SetHeaders(fields, response);
      break;
    case FaultKind::kHang:
      response.delay_ms = fields.value("delay_ms", kDefaultHang_ms);
      response.after_delay = [&site, &request](Response& delayed) { site(request, delayed); };
      break;
    case FaultKind::kSlow:
      return serve_with_fault(ResponseFault::Kind::kSlow);
    case FaultKind::kTruncate:
      return serve_with_fault(ResponseFault::Kind::kTruncate);
    case FaultKind::kReset:
      if (fields.contains("after_bytes")) return serve_with_fault(ResponseFault::Kind::kReset);
      response.fault = {ResponseFault::Kind::kReset, {}, 0, count_delivered};
      return;
  }
  count_delivered();
}

}  // namespace devshop
