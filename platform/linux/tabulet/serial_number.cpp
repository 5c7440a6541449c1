#include <sodium.h>
#include <unistd.h>

#include <string>

#include "platform/linux/common/atomic_file.h"
#include "platform/linux/common/log.h"
#include "platform/linux/common/settings.h"
#include "tabulet.h"

namespace {

/// The machine's id; its host name if it has none, as in a container.
std::string GetMachineId() {
  std::string id;
  for (const char* path : {"/etc/machine-id", "/var/lib/dbus/machine-id"}) {
    if (!saltmoor::platform::ReadFile(path, 4096, &id) && id.size() >= 32) return id.substr(0, 32);
  }
  char name[256] = "";
  gethostname(name, sizeof name - 1);
  return name;
}

/// Returns a hash of the machine's id, because the id itself is confidential.
std::string DeriveSerialNumber() {
  static constexpr char kPurpose[] = "tabulet serial number";
  const std::string identity = GetMachineId();
  unsigned char hash[crypto_generichash_BYTES_MIN];
  char digits[2 * sizeof hash + 1];
  crypto_generichash(hash, sizeof hash, reinterpret_cast<const unsigned char*>(identity.data()),
                     identity.size(), reinterpret_cast<const unsigned char*>(kPurpose),
                     sizeof kPurpose - 1);
  return sodium_bin2hex(digits, sizeof digits, hash, sizeof hash);
}

}  // namespace

const char* GetSerialNumber() {
  return saltmoor::platform::CatchAtBoundary("unknown", [] {
    static const std::string& serial = *new std::string([] {
      const std::string& given = saltmoor::platform::GetSettings().serial;
      return given.empty() ? DeriveSerialNumber() : given;
    }());
    return serial.c_str();
  });
}
