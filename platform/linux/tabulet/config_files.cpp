#include <cerrno>
#include <memory>
#include <string>

#include "platform/linux/common/atomic_file.h"
#include "platform/linux/common/catch_at_boundary.h"
#include "platform/linux/common/log.h"
#include "platform/linux/common/move_aside.h"
#include "platform/linux/common/strings.h"
#include "platform/linux/tabulet/key_values.h"
#include "platform/linux/tabulet/secrets.h"
#include "tabulet.h"

using saltmoor::platform::CatchAtBoundary;
using saltmoor::platform::Error;
using saltmoor::platform::KeyValues;
using saltmoor::platform::Log;
using saltmoor::platform::LogLevel;

struct iconfig_s {
  ~iconfig_s() {
    for (auto& [key, secret] : unsealed) saltmoor::platform::Wipe(&secret);
  }

  std::string path;
  KeyValues values;
  KeyValues unsealed;  ///< the secrets that were read, since the caller keeps pointers to them
  bool changed = false;
};

namespace {

constexpr std::size_t kMaxFile_bytes = 16 << 20;

Error Load(const std::string& path, KeyValues* values) {
  std::string text;
  if (Error error = saltmoor::platform::ReadFile(path, kMaxFile_bytes, &text)) return error;
  const Error error = saltmoor::platform::ParseKeyValues(text, values);
  return error ? Error::InvalidData("cannot read " + path + ": " + error.message()) : Error();
}

/// Whether the fault is the file's own. A folder of that name is not to be moved, and a process
/// that has too many files open says nothing about this one.
bool IsBadFile(const Error& error) {
  return error.kind() == Error::Kind::kInvalidData || error.IsSystem(EACCES) || error.IsSystem(EIO);
}

Error LoadOrStartEmpty(const std::string& path, KeyValues* values) {
  Error error = Load(path, values);
  if (IsBadFile(error)) {
    error = saltmoor::platform::MoveAside(path, [&path] {
      KeyValues unused;
      return Load(path, &unused);
    });
    if (!error) error = Load(path, values);
  }
  if (!error.IsSystem(ENOENT)) return error;
  error = saltmoor::platform::CreateFile(path, "");
  return error.IsSystem(EEXIST) ? Load(path, values) : error;
}

iconfig_s* Open(const char* path) {
  auto config = std::make_unique<iconfig_s>();
  config->path = path;
  if (const Error error = LoadOrStartEmpty(config->path, &config->values)) {
    Log(LogLevel::kError, error.message());
    return nullptr;
  }
  return config.release();
}

void Set(iconfig_s* config, const std::string& key, std::string value) {
  const auto secret = config->unsealed.find(key);
  if (secret != config->unsealed.end()) {
    saltmoor::platform::Wipe(&secret->second);
    config->unsealed.erase(secret);
  }
  config->values[key] = std::move(value);
  config->changed = true;
}

void SetSecret(iconfig_s* config, const std::string& key, const char* value) {
  std::string sealed;
  const Error error = saltmoor::platform::Seal(key, value, &sealed);
  Set(config, key, std::move(sealed));
  if (!error) return;
  // The old secret goes all the same: somebody who logs out must not find it again.
  config->values.erase(key);
  Log(LogLevel::kError,
      config->path + ": the secret \"" + key + "\" cannot be kept: " + error.message());
}

/// \return the text under `key`, null when there is none.
const std::string* Find(const KeyValues& values, const std::string& key) {
  const auto entry = values.find(key);
  return entry == values.end() ? nullptr : &entry->second;
}

const char* FindSecret(iconfig_s* config, const std::string& key, const char* fallback) {
  if (const std::string* secret = Find(config->unsealed, key)) return secret->c_str();
  const std::string* sealed = Find(config->values, key);
  if (!sealed) return fallback;
  std::string secret;
  if (const Error error = saltmoor::platform::Unseal(key, *sealed, &secret)) {
    Log(LogLevel::kError,
        config->path + ": the secret \"" + key + "\" counts as absent: " + error.message());
    return fallback;
  }
  return (config->unsealed[key] = std::move(secret)).c_str();
}

int Save(iconfig_s* config, const char* consequence) {
  if (const Error error = saltmoor::platform::ReplaceFile(
          config->path, saltmoor::platform::SerializeKeyValues(config->values))) {
    Log(LogLevel::kError, error.message() + consequence);
    return 0;
  }
  config->changed = false;
  return 1;
}

}  // namespace

iconfig_s* OpenConfig(const char* path, const config_defaults_s* /*defaults*/) {
  return CatchAtBoundary(static_cast<iconfig_s*>(nullptr), [path] { return Open(path); });
}

const char* ReadString(iconfig_s* config, const char* key, const char* fallback) {
  if (!config) return fallback;
  return CatchAtBoundary(fallback, [=] {
    const std::string* value = Find(config->values, key);
    return value ? value->c_str() : fallback;
  });
}

const char* ReadSecret(iconfig_s* config, const char* key, const char* fallback) {
  if (!config) return fallback;
  return CatchAtBoundary(fallback, [=] { return FindSecret(config, key, fallback); });
}

int ReadInt(iconfig_s* config, const char* key, int fallback) {
  if (!config) return fallback;
  return CatchAtBoundary(fallback, [=] {
    int number = fallback;
    if (const std::string* value = Find(config->values, key)) {
      saltmoor::platform::ParseInt(*value, &number);
    }
    return number;
  });
}

void WriteString(iconfig_s* config, const char* key, const char* value) {
  if (!config) return;
  CatchAtBoundary(0, [=] {
    Set(config, key, value ? value : "");
    return 0;
  });
}

void WriteSecret(iconfig_s* config, const char* key, const char* value) {
  if (!config) return;
  CatchAtBoundary(0, [=] {
    SetSecret(config, key, value ? value : "");
    return 0;
  });
}

void WriteInt(iconfig_s* config, const char* key, int value) {
  if (!config) return;
  CatchAtBoundary(0, [=] {
    Set(config, key, std::to_string(value));
    return 0;
  });
}

int SaveConfig(iconfig_s* config) {
  if (!config) return 0;
  return CatchAtBoundary(0, [config] { return Save(config, ""); });
}

void CloseConfig(iconfig_s* config) {
  if (!config) return;
  CatchAtBoundary(
      0, [config] { return config->changed ? Save(config, "; unsaved changes are lost") : 1; });
  delete config;
}

void CloseConfigNoSave(iconfig_s* config) {
  delete config;
}
