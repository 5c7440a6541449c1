#include "platform/linux/common/settings.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "platform/linux/common/strings.h"

namespace saltmoor::platform {
namespace {

std::string GetEnvironment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

/// Takes the part before the next colon off `text`. A colon within brackets belongs to an address.
std::string_view ConsumePart(std::string_view* text) {
  std::size_t start = 0;
  if (!text->empty() && text->front() == '[') start = std::min(text->find(']'), text->size());
  const std::size_t end = std::min(text->find(':', start), text->size());
  const std::string_view part = text->substr(0, end);
  text->remove_prefix(std::min(end + 1, text->size()));
  return part;
}

bool IsPort(std::string_view text) {
  int port = 0;
  return ParseInt(std::string(text), &port) && port >= 1 && port <= 65535;
}

/// Reads HOST:PORT:TO-HOST:TO-PORT. The first two may be empty, which means any.
bool ParseConnectTo(std::string_view entry, ConnectTo* result) {
  if (std::count(entry.begin(), entry.end(), ':') < 3) return false;
  result->entry = entry;
  ConsumePart(&entry);
  const std::string_view port = ConsumePart(&entry);
  std::string_view to_host = ConsumePart(&entry);
  if (to_host.size() > 2 && to_host.front() == '[' && to_host.back() == ']') {
    to_host = to_host.substr(1, to_host.size() - 2);
  }
  result->to_host = to_host;
  return (port.empty() || IsPort(port)) && !to_host.empty() && IsPort(entry);
}

void ReadConnectTo(Settings* settings) {
  for (const std::string& entry : Split(GetEnvironment("TABULET_CONNECT_TO"), ',')) {
    ConnectTo connect_to;
    if (entry.empty()) continue;
    if (ParseConnectTo(entry, &connect_to)) {
      settings->connect_to.push_back(std::move(connect_to));
    } else {
      settings->problems.push_back("TABULET_CONNECT_TO: \"" + entry +
                                   "\" is left out; write HOST:PORT:TO-HOST:TO-PORT, "
                                   "comma-separated");
    }
  }
}

void ReadCaFile(Settings* settings) {
  settings->ca_file = GetEnvironment("TABULET_CA_FILE");
  if (settings->ca_file.empty() || access(settings->ca_file.c_str(), R_OK) == 0) return;
  // It still counts: to trust the system's authorities instead would be a surprise.
  settings->problems.push_back("TABULET_CA_FILE: cannot read \"" + settings->ca_file + "\" (" +
                               std::strerror(errno) +
                               "), so no server is trusted; name a readable PEM file, or unset it "
                               "to trust the system's authorities");
}

void ReadLog(Settings* settings) {
  const std::string log = GetEnvironment("TABULET_LOG");
  if (!log.empty()) settings->log = log;

  const std::string level = GetEnvironment("TABULET_LOG_LEVEL");
  int number = 0;
  if (level.empty()) return;
  if (ParseInt(level, &number) && number >= 0 && number <= 5) {
    settings->log_level = number;
  } else {
    settings->problems.push_back("TABULET_LOG_LEVEL: \"" + level +
                                 "\" counts as 2; write 1 (fatal) to 5 (trace), or 0 for nothing");
  }
}

void ReadSerial(Settings* settings) {
  const std::string serial = GetEnvironment("TABULET_SERIAL");
  const bool printable =
      std::all_of(serial.begin(), serial.end(), [](char c) { return c > ' ' && c <= '~'; });
  if (printable) {
    settings->serial = serial;
  } else {
    settings->problems.push_back(
        "TABULET_SERIAL: the value is left out; write printable ASCII characters without blanks");
  }
}

Settings ReadEnvironment() {
  Settings settings;
  ReadConnectTo(&settings);
  ReadCaFile(&settings);
  ReadLog(&settings);
  ReadSerial(&settings);
  return settings;
}

}  // namespace

const Settings& GetSettings() {
  // Never destroyed: programs log until after their own statics are gone.
  static const Settings& settings = *new Settings(ReadEnvironment());
  return settings;
}

}  // namespace saltmoor::platform
