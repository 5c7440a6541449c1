#include "ledger.h"

#include <algorithm>
#include <iostream>
#include <regex>

namespace devshop {
namespace {

constexpr std::size_t kMaxEntries = 10'000;

Json FieldsJson(const Fields& fields) {
  Json json = Json::array();
  for (const auto& [name, value] : fields) json.push_back({name, value});
  return json;
}

/// A path as it may be printed: links of bought books and payments carry a secret.
std::string RedactSecrets(const std::string& path) {
  static const std::regex secret("[0-9a-f]{32,}");
  return std::regex_replace(path, secret, "...");
}

}  // namespace

void Ledger::Add(const std::string& port, int connection, const Request& request) {
  const std::lock_guard lock(mutex_);
  entries_.push_back({++added_, port, connection, request, 0, {}});
  entries_.back().request.body = {};  // its fields are kept, and up to a mebibyte more is not
  if (entries_.size() > kMaxEntries) entries_.pop_front();
}

Ledger::Entry* Ledger::in_flight(int connection) {
  const auto last = std::find_if(entries_.rbegin(), entries_.rend(), [&](const Entry& entry) {
    return entry.connection == connection;
  });
  return last == entries_.rend() || last->status != 0 ? nullptr : &*last;
}

void Ledger::SetStatus(int connection, int status) {
  const std::lock_guard lock(mutex_);
  Entry* entry = in_flight(connection);
  if (entry == nullptr) return;
  entry->status = status;
  if (!verbose_) return;
  std::cerr << entry->port + " " + entry->request.method + " " +
                   RedactSecrets(entry->request.path) + " " + std::to_string(status) +
                   (entry->fault.empty() ? "" : " (" + entry->fault + ")") + "\n";
}

void Ledger::SetFault(int connection, const std::string& fault) {
  const std::lock_guard lock(mutex_);
  if (Entry* entry = in_flight(connection)) entry->fault = fault;
}

Json Ledger::ToJson() const {
  const std::lock_guard lock(mutex_);
  Json requests = Json::array();
  for (const Entry& entry : entries_) {
    Json headers = Json::object();
    for (const auto& [name, value] : entry.request.headers) headers[name] = value;
    requests.push_back({{"number", entry.number},
                        {"port", entry.port},
                        {"connection", entry.connection},
                        {"method", entry.request.method},
                        {"path", entry.request.path},
                        {"query", FieldsJson(entry.request.query)},
                        {"headers", std::move(headers)},
                        {"form", FieldsJson(entry.request.form)},
                        {"status", entry.status},
                        {"fault", entry.fault}});
  }
  return {{"requests", std::move(requests)}};
}

void Ledger::Clear() {
  const std::lock_guard lock(mutex_);
  entries_.clear();
  added_ = 0;
}

}  // namespace devshop
