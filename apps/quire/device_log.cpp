#include "device_log.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "text.h"

namespace app {
namespace {

constexpr char kDefaultPath[] = "/tmp/quire.log";
constexpr int kErrorLevel = 2;
constexpr long long kMaxSize_bytes = 1 << 20;  // looked at, in one go

long long SizeOf(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? static_cast<long long>(status.st_size) : 0;
}

}  // namespace

void KeepLogOffTheScreen() {
  setenv("TABULET_LOG", kDefaultPath, 0);
}

void ShowLog(int level) {
  setenv("TABULET_LOG", "-", 1);
  setenv("TABULET_LOG_LEVEL", std::to_string(level).c_str(), 1);
}

std::string LogPath() {
  const char* path = std::getenv("TABULET_LOG");
  return path == nullptr || std::string(path) == "-" ? std::string() : path;
}

DeviceLog::DeviceLog() : path_(LogPath()), start_bytes_(SizeOf(path_)) {}

bool DeviceLog::IsComplete() const {
  const char* level = std::getenv("TABULET_LOG_LEVEL");
  if (level != nullptr && std::strtol(level, nullptr, 10) < kErrorLevel) return false;
  return !path_.empty() && access(path_.c_str(), R_OK | W_OK) == 0;
}

std::vector<std::string> DeviceLog::Records() const {
  std::vector<std::string> lines;
  if (path_.empty()) return lines;
  std::ifstream file(path_, std::ios::binary);
  file.seekg(std::max(start_bytes_, SizeOf(path_) - kMaxSize_bytes));
  for (std::string line; std::getline(file, line);) lines.push_back(std::move(line));
  return lines;
}

std::string DeviceLog::Explanation() const {
  std::string reason;
  for (const std::string& line : Records()) {  // "LEVEL SOURCE:LINE FUNCTION: TEXT"
    const std::size_t colon = line.find(": ");
    const bool is_library = line.find(" quire_store/") == 1;  // says where, and not why
    if (colon == std::string::npos || line[0] > '3' || is_library) continue;
    reason = line.substr(colon + 2);
  }
  constexpr std::string_view kFailed =
      " failed: ";  // before it stands what the sentence says anyway
  const std::size_t failed = reason.find(kFailed);
  if (failed != std::string::npos) reason.erase(0, failed + kFailed.size());
  while (reason.ends_with('.') || reason.ends_with(' ')) reason.pop_back();
  return MakePrintable(reason);
}

std::string DeviceLog::Reason() const {
  const std::string explanation = Explanation();
  return explanation.empty() ? std::string() : " (" + explanation + ")";
}

bool DeviceLog::Contains(const std::string& text) const {
  for (const std::string& line : Records()) {
    if (line.find(text) != std::string::npos) return true;
  }
  return false;
}

}  // namespace app
