#include "faults.h"

#include <fnmatch.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace devshop {
namespace {

constexpr std::array<std::string_view, 7> kKinds{"refuse", "hang", "slow", "truncate",
                                                 "status", "body", "reset"};
constexpr int kMaxDelay_ms = 3'600'000;

std::string ListKinds() {
  std::string list;
  for (const auto kind : kKinds) list += (list.empty() ? "" : ", ") + std::string(kind);
  return list;
}

int GetInteger(const std::string& name, const Json& value, int least, int most) {
  if (!value.is_number_integer() || value < least || value > most) {
    throw InvalidInstruction("\"" + name + "\" is an integer from " + std::to_string(least) +
                             " to " + std::to_string(most) + ".");
  }
  return value.get<int>();
}

std::string GetString(const std::string& name, const Json& value) {
  if (!value.is_string()) throw InvalidInstruction("\"" + name + "\" is a string.");
  return value.get<std::string>();
}

void ReadMember(Fault& fault, const std::string& name, const Json& value) {
  constexpr int kMost = 1'000'000'000;
  if (name == "path") {
    fault.path = GetString(name, value);
  } else if (name == "fault") {
    fault.kind = GetString(name, value);
    if (std::find(kKinds.begin(), kKinds.end(), fault.kind) == kKinds.end()) {
      throw InvalidInstruction("Unknown fault \"" + fault.kind + "\"; there are " + ListKinds() +
                               ".");
    }
  } else if (name == "status") {
    fault.status = GetInteger(name, value, 200, 599);
  } else if (name == "body") {
    fault.body = GetString(name, value);
  } else if (name == "headers") {
    const bool valid =
        value.is_object() &&
        std::all_of(value.begin(), value.end(), [](const Json& v) { return v.is_string(); });
    if (!valid) throw InvalidInstruction("\"headers\" is an object of strings.");
    fault.headers = value;
  } else if (name == "after_bytes") {
    fault.after_bytes = static_cast<std::size_t>(GetInteger(name, value, 0, kMost));
  } else if (name == "delay_ms") {
    fault.delay_ms = GetInteger(name, value, 0, kMaxDelay_ms);
  } else if (name == "times") {
    fault.times = GetInteger(name, value, 1, kMost);
  } else if (name == "skip") {
    fault.skip = GetInteger(name, value, 0, kMost);
  } else {
    throw InvalidInstruction("Unknown field \"" + name +
                             "\"; a fault has path, fault, status, body, headers, after_bytes, "
                             "delay_ms, times, skip.");
  }
}

Json FaultJson(const Fault& fault) {
  Json json{{"id", fault.id}, {"path", fault.path}, {"fault", fault.kind}};
  if (fault.kind == "status") json["status"] = fault.status;
  if (fault.body) json["body"] = *fault.body;
  if (!fault.headers.empty()) json["headers"] = fault.headers;
  if (fault.after_bytes) json["after_bytes"] = *fault.after_bytes;
  if (fault.delay_ms) json["delay_ms"] = *fault.delay_ms;
  json["skip"] = fault.skip;
  json["left"] = fault.times;
  json["delivered"] = fault.delivered;
  return json;
}

}  // namespace

Json Faults::Arm(const Json& instruction) {
  if (!instruction.is_object()) throw InvalidInstruction("A fault is a JSON object.");
  Fault fault;
  for (const auto& [name, value] : instruction.items()) ReadMember(fault, name, value);
  if (fault.path.empty()) throw InvalidInstruction("\"path\" is missing.");
  if (fault.kind.empty()) throw InvalidInstruction("\"fault\" is missing.");
  const std::lock_guard lock(mutex_);
  fault.id = ++armed_;
  faults_.push_back(fault);
  return FaultJson(fault);
}

std::optional<Fault> Faults::Take(const std::string& path) {
  const std::lock_guard lock(mutex_);
  for (Fault& fault : faults_) {
    if (fault.times == 0 || fnmatch(("*" + fault.path).c_str(), path.c_str(), 0) != 0) continue;
    if (fault.skip > 0) {
      --fault.skip;
      continue;
    }
    --fault.times;
    return fault;
  }
  return std::nullopt;
}

void Faults::CountDelivered(int id) {
  const std::lock_guard lock(mutex_);
  for (Fault& fault : faults_) fault.delivered += fault.id == id ? 1 : 0;
}

Json Faults::ToJson() const {
  const std::lock_guard lock(mutex_);
  Json list = Json::array();
  int delivered = 0;
  for (const Fault& fault : faults_) {
    list.push_back(FaultJson(fault));
    delivered += fault.delivered;
  }
  return {{"faults", std::move(list)}, {"delivered", delivered}};
}

void Faults::Clear() {
  const std::lock_guard lock(mutex_);
  faults_.clear();
}

}  // namespace devshop
