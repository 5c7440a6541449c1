#include "request_log.h"

#include <algorithm>
#include <iostream>

namespace devshop {
namespace {

constexpr std::size_t kMaxEntries = 10'000;
constexpr std::size_t kMinSecret_characters = 32;

/// A path for the terminal: links of bought books and payments contain a secret.
std::string RedactSecrets(const std::string& path) {
  std::string redacted;
  for (std::size_t at = 0; at < path.size();) {
    const auto end = std::min(path.find_first_not_of("0123456789abcdef", at), path.size());
    redacted += end - at >= kMinSecret_characters ? "..." : path.substr(at, end - at);
    at = std::min(end + 1, path.size());
    redacted += path.substr(end, at - end);
  }
  return redacted;
}

}  // namespace

void RequestLog::Add(const std::string& port, const Request& request) {
  const std::lock_guard lock(mutex_);
  entries_.push_back({++added_, port, request, 0, {}});
  entries_.back().request.body = {};  // up to 1 MiB; its form fields are kept
  if (entries_.size() > kMaxEntries) entries_.pop_front();
}

RequestLog::Entry* RequestLog::InFlight(int connection) {
  const auto last = std::find_if(entries_.rbegin(), entries_.rend(), [&](const Entry& entry) {
    return entry.request.connection == connection;
  });
  return last == entries_.rend() || last->status != 0 ? nullptr : &*last;
}

void RequestLog::SetStatus(int connection, int status) {
  const std::lock_guard lock(mutex_);
  Entry* entry = InFlight(connection);
  if (entry == nullptr) return;
  entry->status = status;
  if (!verbose_) return;
  std::cerr << entry->port + " " + entry->request.method + " " +
                   RedactSecrets(entry->request.path) + " " + std::to_string(status) +
                   (entry->fault.empty() ? "" : " (" + entry->fault + ")") + "\n";
}

void RequestLog::SetFault(int connection, const std::string& fault) {
  const std::lock_guard lock(mutex_);
  if (Entry* entry = InFlight(connection)) entry->fault = fault;
}

Json RequestLog::ToJson() const {
  const std::lock_guard lock(mutex_);
  Json requests = Json::array();
  for (const Entry& entry : entries_) {
    Json headers = Json::object();
    for (const auto& [name, value] : entry.request.headers) headers[name] = value;
    requests.push_back({{"number", entry.number},
                        {"port", entry.port},
                        {"connection", entry.request.connection},
                        {"method", entry.request.method},
                        {"path", entry.request.path},
                        {"query", entry.request.query},
                        {"headers", std::move(headers)},
                        {"form", entry.request.form},
                        {"status", entry.status},
                        {"fault", entry.fault}});
  }
  return {{"requests", std::move(requests)}};
}

void RequestLog::Clear() {
  const std::lock_guard lock(mutex_);
  entries_.clear();
  added_ = 0;
}

}  // namespace devshop
