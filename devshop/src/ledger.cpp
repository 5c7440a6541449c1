#include "ledger.h"

#include <algorithm>
#include <iostream>
#include <regex>

namespace devshop {
namespace {

constexpr std::size_t kMostEntries = 10'000;

Json fields_json(const Fields& fields) {
  Json json = Json::array();
  for (const auto& [name, value] : fields) json.push_back({name, value});
  return json;
}

/// A path as it may be printed: links of bought books and payments carry a secret.
std::string without_secrets(const std::string& path) {
  static const std::regex secret("[0-9a-f]{32,}");
  return std::regex_replace(path, secret, "...");
}

}  // namespace

void Ledger::add(const std::string& port, int connection, const Request& request) {
  const std::lock_guard lock(mutex_);
  entries_.push_back({++added_, port, connection, request, 0, {}});
  entries_.back().request.body = {};  // its fields are kept, and up to a mebibyte more is not
  if (entries_.size() > kMostEntries) entries_.pop_front();
}

Ledger::Entry* Ledger::under_way(int connection) {
  const auto last = std::find_if(entries_.rbegin(), entries_.rend(), [&](const Entry& entry) {
    return entry.connection == connection;
  });
  return last == entries_.rend() || last->status != 0 ? nullptr : &*last;
}

void Ledger::set_status(int connection, int status) {
  const std::lock_guard lock(mutex_);
  Entry* entry = under_way(connection);
  if (entry == nullptr) return;
  entry->status = status;
  if (!verbose_) return;
  std::cerr << entry->port + " " + entry->request.method + " " +
                   without_secrets(entry->request.path) + " " + std::to_string(status) +
                   (entry->fault.empty() ? "" : " (" + entry->fault + ")") + "\n";
}

void Ledger::set_fault(int connection, const std::string& fault) {
  const std::lock_guard lock(mutex_);
  if (Entry* entry = under_way(connection)) entry->fault = fault;
}

Json Ledger::to_json() const {
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
                        {"query", fields_json(entry.request.query)},
                        {"headers", std::move(headers)},
                        {"form", fields_json(entry.request.form)},
                        {"status", entry.status},
                        {"fault", entry.fault}});
  }
  return {{"requests", std::move(requests)}};
}

void Ledger::clear() {
  const std::lock_guard lock(mutex_);
  entries_.clear();
  added_ = 0;
}

}  // namespace devshop
