#include "tabulet.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iterator>

#include "fake_device.h"

namespace fake {

Device device;

static std::set<iconfig_s*> open_handles;

Lines Device::Calls(std::initializer_list<const char*> beginnings) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  Lines lines;
  std::ranges::copy_if(calls_, std::back_inserter(lines), [&](const std::string& line) {
    return std::ranges::any_of(beginnings,
                               [&](const char* text) { return line.starts_with(text); });
  });
  return lines;
}

void Device::ClearCalls() {
  const std::lock_guard<std::mutex> lock(mutex_);
  calls_.clear();
}

Lines Device::Misuse() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return misuse_;
}

int Device::OpenHandles() const {
  return static_cast<int>(open_handles.size());
}

void Device::AddResponse(const std::string& path, const std::string& body, long status) {
  std::deque<Response>& responses = responses_[path];
  if (!responses.empty() && responses.front().taken) responses.pop_front();
  responses.push_back({0, status, body});
}

void Device::SetOnlyResponse(const std::string& path, const std::string& body, long status) {
  ClearResponses();
  ClearCalls();
  AddResponse(path, body, status);
}

void Device::ClearResponses() {
  responses_.clear();
}

void Device::ReleaseDownloads() {
  holds_downloads = false;
  holds_downloads.notify_all();
}

void Device::Record(const std::string& line) {
  const std::lock_guard<std::mutex> lock(mutex_);
  calls_.push_back(line);
}

void Device::RecordMisuse(const std::string& what) {
  const std::lock_guard<std::mutex> lock(mutex_);
  misuse_.push_back(what);
}

Device::Response Device::NextResponse(const std::string& path) {
  std::deque<Response>& responses = responses_[path];
  if (responses.empty()) return {};
  const Response response = responses.front();
  responses.front().taken = true;
  if (responses.size() > 1) responses.pop_front();
  return response;
}

std::int64_t Device::Now() {
  if (clock_s.empty()) return std::time(nullptr);
  const std::int64_t now = clock_s.front();
  if (clock_s.size() > 1) clock_s.pop_front();
  return now;
}

}  // namespace fake

using fake::device;

struct iconfig_s {
  std::map<std::string, std::string> values;
  bool changed = false;
};

namespace {

bool Usable(iconfig_s* config, const char* what) {
  if (config == nullptr) return false;
  if (fake::open_handles.count(config) != 0) return true;
  device.RecordMisuse(std::string(what) + " with a handle that is not open");
  return false;
}

const char* Read(iconfig_s* config, const std::string& key, const char* fallback) {
  device.Record("config read " + key);
  if (device.null_reads.count(key) != 0) return nullptr;
  if (!Usable(config, "config read")) return fallback;
  const auto entry = config->values.find(key);
  return entry == config->values.end() ? fallback : entry->second.c_str();
}

void Write(iconfig_s* config, const std::string& key, const std::string& value) {
  device.Record("config write " + key + "=" + value);
  if (!Usable(config, "config write")) return;
  config->values[key] = value;
  config->changed = true;
}

void Release(iconfig_s* config, bool save) {
  device.Record(save ? "config close" : "config discard");
  if (!Usable(config, "config close")) return;
  if (save && config->changed && device.config_saves) device.config = config->values;
  fake::open_handles.erase(config);
  delete config;
}

}  // namespace

iconfig_s* OpenConfig(const char* path, const config_defaults_s* defaults) {
  device.Record(std::string("config open ") + path);
  if (defaults != nullptr) device.RecordMisuse("defaults for a configuration file");
  if (!device.config_opens) return nullptr;
  auto* config = new iconfig_s{device.config, false};
  fake::open_handles.insert(config);
  return config;
}

const char* ReadString(iconfig_s* config, const char* key, const char* fallback) {
  return Read(config, key, fallback);
}

const char* ReadSecret(iconfig_s* config, const char* key, const char* fallback) {
  return Read(config, std::string("secret ") + key, fallback);
}

int ReadInt(iconfig_s* config, const char* key, int fallback) {
  const char* text = Read(config, std::string("int ") + key, nullptr);
  return text == nullptr ? fallback : std::atoi(text);
}

void WriteString(iconfig_s* config, const char* key, const char* value) {
  Write(config, key, value == nullptr ? "" : value);
}

void WriteSecret(iconfig_s* config, const char* key, const char* value) {
  Write(config, std::string("secret ") + key, value == nullptr ? "" : value);
}

void WriteInt(iconfig_s* config, const char* key, int value) {
  Write(config, std::string("int ") + key, std::to_string(value));
}

int SaveConfig(iconfig_s* config) {
  device.Record("config save");
  if (!Usable(config, "config save") || !device.config_saves) return 0;
  device.config = config->values;
  config->changed = false;
  return 1;
}

void CloseConfig(iconfig_s* config) {
  Release(config, true);
}

void CloseConfigNoSave(iconfig_s* config) {
  Release(config, false);
}

const char* GetSerialNumber() {
  return device.serial_number;
}

int QueryNetwork() {
  device.Record("network query");
  return device.network_state;
}

int NetConnect(const char* network) {
  device.Record(std::string("network connect ") + (network == nullptr ? "default" : network));
  return -1;
}

int FindTaskByAppName(const char* app) {
  device.Record(std::string("task find ") + app);
  return device.scanner_task;
}

int SendRequestTo(int task, int request, const void* data, int size, int flags, int timeout_ms) {
  const std::string text(static_cast<const char*>(data), static_cast<std::size_t>(size));
  device.Record("task send " + std::to_string(task) + " " + std::to_string(request) + " " + text +
                " " + std::to_string(flags) + " " + std::to_string(timeout_ms));
  return -1;
}

void Message(int icon, const char* title, const char* text, int timeout_ms) {
  device.Record("message " + std::to_string(icon) + " " + title + " " + text + " " +
                std::to_string(timeout_ms));
}

struct ibitmap_s {};

ibitmap_s* GetResource(const char* name, ibitmap_s* fallback) {
  static ibitmap_s logo;
  device.Record(std::string("resource ") + name);
  return device.has_logo ? &logo : fallback;
}

int SaveBitmap(const char* path, const ibitmap_s* /*bitmap*/) {
  device.Record(std::string("bitmap ") + path);
  return 0;
}

const tb_file_type* GetSupportedFileTypes() {
  static const tb_file_type types[] = {{"epub", "EPUB"}, {"pdf", "PDF"}, {"htm", "HTML"}, {}};
  return types;
}

int tb_unlink(const char* path) {
  device.Record(std::string("unlink ") + path);
  return unlink(path);
}

char* utf_toupper_ext(const char* text, int* length) {
  char* const upper = strdup(device.upper_case.value_or(text).c_str());
  for (char* c = upper; *c != 0; ++c) *c = static_cast<char>(std::toupper(*c));
  if (length != nullptr) *length = static_cast<int>(std::strlen(upper));
  return upper;
}

void sm_print_log2(int level, const char* source, int line, const char* function,
                   const char* format, ...) {
  char text[4096];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  device.Record("log " + std::to_string(level) + " " + source + ":" + std::to_string(line) + " " +
                function + ": " + text);
}
