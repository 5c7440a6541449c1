#include "faults.h"

#include <fnmatch.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace devshop {
namespace {

constexpr std::array<std::string_view, 7> kKinds{"refuse", "hang", "slow", "truncate",
                                                 "status", "body", "reset"};
constexpr int kLargestDelay_ms = 3'600'000;

std::string list_kinds() {
  std::string list;
  for (const auto kind : kKinds) list += (list.empty() ? "" : ", ") + std::string(kind);
  return list;
}

int whole_number(const std::string& name, const Json& value, int least, int most) {
  if (!value.is_number_integer() || value < least || value > most) {
    throw BadInstruction("\"" + name + "\" is a whole number from " + std::to_string(least) +
                         " to " + std::to_string(most) + ".");
  }
  return value.get<int>();
}

std::string text(const std::string& name, const Json& value) {
  if (!value.is_string()) throw BadInstruction("\"" + name + "\" is a text.");
  return value.get<std::string>();
}

void read_member(Fault& fault, const std::string& name, const Json& value) {
  constexpr int kMost = 1'000'000'000;
  if (name == "path") {
    fault.path = text(name, value);
  } else if (name == "fault") {
    fault.kind = text(name, value);
    if (std::find(kKinds.begin(), kKinds.end(), fault.kind) == kKinds.end()) {
      throw BadInstruction("Unknown fault \"" + fault.kind + "\"; there are " + list_kinds() + ".");
    }
  } else if (name == "status") {
    fault.status = whole_number(name, value, 200, 599);
  } else if (name == "body") {
    fault.body = text(name, value);
  } else if (name == "headers") {
    const bool texts =
        value.is_object() &&
        std::all_of(value.begin(), value.end(), [](const Json& v) { return v.is_string(); });
    if (!texts) throw BadInstruction("\"headers\" is an object of texts.");
    fault.headers = value;
  } else if (name == "after_bytes") {
    fault.after_bytes = static_cast<std::size_t>(whole_number(name, value, 0, kMost));
  } else if (name == "delay_ms") {
    fault.delay_ms = whole_number(name, value, 0, kLargestDelay_ms);
  } else if (name == "times") {
    fault.times = whole_number(name, value, 1, kMost);
  } else if (name == "skip") {
    fault.skip = whole_number(name, value, 0, kMost);
  } else {
    throw BadInstruction("Unknown field \"" + name +
                         "\"; a fault has path, fault, status, body, headers, after_bytes, "
                         "delay_ms, times, skip.");
  }
}

Json fault_json(const Fault& fault) {
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

Json Faults::arm(const Json& instruction) {
  if (!instruction.is_object()) throw BadInstruction("A fault is a JSON object.");
  Fault fault;
  for (const auto& [name, value] : instruction.items()) read_member(fault, name, value);
  if (fault.path.empty()) throw BadInstruction("\"path\" is missing.");
  if (fault.kind.empty()) throw BadInstruction("\"fault\" is missing.");
  const std::lock_guard lock(mutex_);
  fault.id = ++armed_;
  faults_.push_back(fault);
  return fault_json(fault);
}

std::optional<Fault> Faults::take(const std::string& path) {
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

void Faults::count_delivered(int id) {
  const std::lock_guard lock(mutex_);
  for (Fault& fault : faults_) fault.delivered += fault.id == id ? 1 : 0;
}

Json Faults::to_json() const {
  const std::lock_guard lock(mutex_);
  Json list = Json::array();
  int delivered = 0;
  for (const Fault& fault : faults_) {
    list.push_back(fault_json(fault));
    delivered += fault.delivered;
  }
  return {{"faults", std::move(list)}, {"delivered", delivered}};
}

void Faults::clear() {
  const std::lock_guard lock(mutex_);
  faults_.clear();
}

}  // namespace devshop
