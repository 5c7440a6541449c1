#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>

#include "platform/linux/common/error.h"
#include "platform/linux/common/log.h"
#include "platform/linux/common/settings.h"
#include "tabulet.h"

namespace {

using saltmoor::platform::Error;
using saltmoor::platform::Log;
using saltmoor::platform::LogLevel;

// Two of the bits 0xF00, any of which means connected.
constexpr int kByInterface = 0x100;
constexpr int kByLoopback = 0x200;

bool IsExternalInterface(const ifaddrs& entry) {
  constexpr unsigned kUp = IFF_UP | IFF_RUNNING;
  if (!entry.ifa_addr || (entry.ifa_flags & kUp) != kUp || (entry.ifa_flags & IFF_LOOPBACK)) {
    return false;
  }
  if (entry.ifa_addr->sa_family == AF_INET) return true;
  if (entry.ifa_addr->sa_family != AF_INET6) return false;
  sockaddr_in6 address;
  __builtin_memcpy(&address, entry.ifa_addr, sizeof address);
  return !IN6_IS_ADDR_LINKLOCAL(&address.sin6_addr);
}

bool HasInterface() {
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) {
    Log(LogLevel::kError, Error::System(errno, "cannot list the network interfaces").message());
    return false;
  }
  const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, freeifaddrs);
  for (const ifaddrs* entry = list; entry; entry = entry->ifa_next) {
    if (IsExternalInterface(*entry)) return true;
  }
  return false;
}

bool IsLoopback(const std::string& host) {
  in_addr address;
  if (inet_pton(AF_INET, host.c_str(), &address) == 1) return (ntohl(address.s_addr) >> 24) == 127;
  return host == "localhost" || host == "::1";
}

/// Whether servers are on this machine, which needs no network.
bool UsesLoopback() {
  const auto& connect_to = saltmoor::platform::GetSettings().connect_to;
  return std::any_of(connect_to.begin(), connect_to.end(),
                     [](const auto& entry) { return IsLoopback(entry.to_host); });
}

int GetState() {
  return (HasInterface() ? kByInterface : 0) | (UsesLoopback() ? kByLoopback : 0);
}

int Connect() {
  // On a PC the system manages the network: it cannot be brought up here.
  if (GetState() != 0) return 0;
  Log(LogLevel::kError, "no network: no interface except loopback is up and has an address");
  return -1;
}

}  // namespace

int QueryNetwork() {
  return saltmoor::platform::CatchAtBoundary(0, [] { return GetState(); });
}

int NetConnect(const char* /*network*/) {
  return saltmoor::platform::CatchAtBoundary(-1, [] { return Connect(); });
}
