#include "fault_injector.h"

#include <fnmatch.h>

#include <algorithm>
#include <array>
#include <boost/algorithm/string/join.hpp>

#include "store_api.h"

namespace devshop {
namespace {

const std::array<std::string, 7> kKinds{"refuse", "hang", "slow", "truncate",
                                        "status", "body", "reset"};
constexpr int kDefaultHang_ms = 60'000;
constexpr int kDefaultSlow_ms = 100;
// fnmatch backtracks: its time grows fast with both.
constexpr std::size_t kMaxPatternBytes = 200;
constexpr int kMaxPatternStars = 4;

struct IntegerRange {
  const char* name;
  int least;
  int most;
};

constexpr int kMost = 1'000'000'000;
constexpr std::array<IntegerRange, 5> kIntegers{{{"status", 200, 599},
                                                 {"after_bytes", 0, kMost},
                                                 {"delay_ms", 0, 3'600'000},
                                                 {"times", 1, kMost},
                                                 {"skip", 0, kMost}}};

bool IsBounded(const std::string& pattern) {
  return pattern.size() <= kMaxPatternBytes &&
         std::count(pattern.begin(), pattern.end(), '*') <= kMaxPatternStars;
}

void CheckField(const std::string& name, const Json& value) {
  const auto range = std::find_if(kIntegers.begin(), kIntegers.end(),
                                  [&](const IntegerRange& row) { return name == row.name; });
  if (range != kIntegers.end()) {
    if (value.is_number_integer() && value >= range->least && value <= range->most) return;
    throw InvalidInstruction("\"" + name + "\" is an integer from " + std::to_string(range->least) +
                             " to " + std::to_string(range->most) + ".");
  }
  if (name == "headers") {
    const bool valid =
        value.is_object() &&
        std::all_of(value.begin(), value.end(), [](const Json& v) { return v.is_string(); });
    if (!valid) throw InvalidInstruction("\"headers\" is an object of strings.");
  } else if (name != "path" && name != "fault" && name != "body") {
    throw InvalidInstruction("Unknown field \"" + name +
                             "\"; a fault has path, fault, status, body, headers, after_bytes, "
                             "delay_ms, times, skip.");
  } else if (!value.is_string()) {
    throw InvalidInstruction("\"" + name + "\" is a string.");
  } else if (name == "path" && !IsBounded(value.get<std::string>())) {
    throw InvalidInstruction("\"path\" must have at most 200 bytes and 4 asterisks.");
  } else if (name == "fault" && std::find(kKinds.begin(), kKinds.end(), value) == kKinds.end()) {
    throw InvalidInstruction("Unknown fault \"" + value.get<std::string>() + "\"; there are " +
                             boost::algorithm::join(kKinds, ", ") + ".");
  }
}

ResponseFault::Kind ParseKind(const std::string& fault) {
  if (fault == "truncate") return ResponseFault::Kind::kTruncate;
  if (fault == "slow") return ResponseFault::Kind::kSlow;
  return fault == "reset" ? ResponseFault::Kind::kReset : ResponseFault::Kind::kNone;
}

}  // namespace

Json FaultInjector::Arm(const Json& instruction) {
  if (!instruction.is_object()) throw InvalidInstruction("A fault is a JSON object.");
  for (const auto& [name, value] : instruction.items()) CheckField(name, value);
  for (const char* name : {"path", "fault"}) {
    if (instruction.value(name, "").empty()) {
      throw InvalidInstruction("\"" + std::string(name) + "\" is missing.");
    }
  }
  const std::lock_guard lock(mutex_);
  return faults_
      .emplace_back(
          Fault{++armed_, instruction, instruction.value("times", 1), instruction.value("skip", 0)})
      .ToJson();
}

Json FaultInjector::Fault::ToJson() const {
  Json json = fields;
  json.update({{"id", id}, {"skip", skip}, {"left", left}, {"delivered", delivered}});
  return json;
}

std::optional<FaultInjector::Fault> FaultInjector::Take(const std::string& path) {
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
  if (const auto fault = Take(request.path)) {
    log_.SetFault(request.connection, fault->fields["fault"]);
    Apply(*fault, site, request, response);
  } else {
    site(request, response);
  }
}

void FaultInjector::Apply(const Fault& fault, const HttpServer::Handler& site,
                          const Request& request, Response& response) {
  const Json& fields = fault.fields;
  const std::string kind = fields["fault"];
  const auto deliver = [this, id = fault.id] { CountDelivered(id); };
  if (const auto sending = ParseKind(kind); sending != ResponseFault::Kind::kNone) {
    response.fault = {sending, {}, fields.value("delay_ms", kDefaultSlow_ms), deliver};
    if (sending == ResponseFault::Kind::kReset && !fields.contains("after_bytes")) return;
    response.fault.after_bytes = fields.value("after_bytes", std::size_t{0});
    return site(request, response);
  }
  deliver();
  if (kind == "hang") {
    response.delay_ms = fields.value("delay_ms", kDefaultHang_ms);
    response.after_delay = [&site, &request](Response& delayed) { site(request, delayed); };
  } else if (kind == "refuse") {
    const Json refusal =
        RefusalJson(request.path, fields.value("body", "The shop is closed today."));
    response.SetContent(ToString(refusal), "application/json");
  } else {
    response.status = kind == "body" ? 200 : fields.value("status", 503);
    response.SetContent(fields.value("body", ""),
                        kind == "body" ? "application/json" : "text/plain");
    const Json headers = fields.value("headers", Json::object());
    for (const auto& [name, value] : headers.items()) response.SetHeader(name, value);
  }
}

}  // namespace devshop
