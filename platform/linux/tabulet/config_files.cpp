#include <cerrno>
#include <memory>
#include <string>
#include <string_view>

#include "platform/linux/common/atomic_file.h"
#include "platform/linux/common/log.h"
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
    for (auto& [key, secret] : secrets) saltmoor::platform::Wipe(&secret);
  }

  std::string path;
  KeyValues values;
  KeyValues secrets;  ///< the secrets that were read; callers have pointers to them
  bool changed = false;
};

namespace {

constexpr std::size_t kMaxFile_bytes = 16 << 20;

/// \return kInvalidData if the file is at fault and is to be moved aside: a directory must not be,
///     nor a file when the process has too many open files.
Error Load(const std::string& path, KeyValues* values) {
  std::string text;
  Error error = saltmoor::platform::ReadFile(path, kMaxFile_bytes, &text);
  if (error.IsSystem(EACCES) || error.IsSystem(EIO)) return Error::InvalidData(error.message());
  if (error) return error;
  error = saltmoor::platform::ParseKeyValues(text, values);
  return error ? Error::InvalidData("cannot read " + path + ": " + error.message()) : Error();
}

iconfig_s* Open(const char* path) {
  auto config = std::make_unique<iconfig_s>();
  config->path = path;
  const auto load = [&] { return Load(config->path, &config->values); };
  const auto empty = [] { return std::string_view(); };
  if (const Error error = saltmoor::platform::LoadOrCreateFile(path, load, empty)) {
    Log(LogLevel::kError, error.message());
    return nullptr;
  }
  return config.release();
}

void Set(iconfig_s* config, const std::string& key, std::string value) {
  const auto secret = config->secrets.find(key);
  if (secret != config->secrets.end()) {
    saltmoor::platform::Wipe(&secret->second);
    config->secrets.erase(secret);
  }
  config->values[key] = std::move(value);
  config->changed = true;
}

void SetSecret(iconfig_s* config, const std::string& key, const char* value) {
  std::string sealed;
  const Error error = saltmoor::platform::EncryptSecret(key, value, &sealed);
  Set(config, key, std::move(sealed));
  if (!error) return;
  // Remove the old secret nevertheless: it must not survive a log-out.
  config->values.erase(key);
  Log(LogLevel::kError,
      config->path + ": the secret \"" + key + "\" cannot be stored: " + error.message());
}

/// \return the value of `key`; null if there is none.
const std::string* Find(const KeyValues& values, const std::string& key) {
  const auto entry = values.find(key);
  return entry == values.end() ? nullptr : &entry->second;
}

const char* FindSecret(iconfig_s* config, const std::string& key, const char* fallback) {
  if (const std::string* secret = Find(config->secrets, key)) return secret->c_str();
  const std::string* sealed = Find(config->values, key);
  if (!sealed) return fallback;
  std::string secret;
  if (const Error error = saltmoor::platform::DecryptSecret(key, *sealed, &secret)) {
    Log(LogLevel::kError,
        config->path + ": the secret \"" + key + "\" counts as absent: " + error.message());
    return fallback;
  }
  return (config->secrets[key] = std::move(secret)).c_str();
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
      saltmoor::platform::ParseNumber(*value, &number);
    }
    return number;
  });
}

void WriteString(iconfig_s* config, const char* key, const char* value) {
  if (!config) return;
  CatchAtBoundary([=] { Set(config, key, value ? value : ""); });
}

void WriteSecret(iconfig_s* config, const char* key, const char* value) {
  if (!config) return;
  CatchAtBoundary([=] { SetSecret(config, key, value ? value : ""); });
}

void WriteInt(iconfig_s* config, const char* key, int value) {
  if (!config) return;
  CatchAtBoundary([=] { Set(config, key, std::to_string(value)); });
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
