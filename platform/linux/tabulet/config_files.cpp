#include <cerrno>
#include <memory>
#include <set>
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
    for (auto& [key, secret] : unencrypted) saltmoor::platform::Wipe(&secret);
  }

  std::string path;
  KeyValues values;
  std::set<std::string> changed;  ///< the keys that the next save writes
  KeyValues secrets;              ///< the secrets that were read; callers have pointers to them
  KeyValues unencrypted;          ///< the secrets that could not be encrypted yet
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

void Forget(KeyValues* secrets, const std::string& key) {
  const auto secret = secrets->find(key);
  if (secret == secrets->end()) return;
  saltmoor::platform::Wipe(&secret->second);
  secrets->erase(secret);
}

void Set(iconfig_s* config, const std::string& key, std::string value) {
  config->values[key] = std::move(value);
  config->changed.insert(key);
  Forget(&config->secrets, key);
  Forget(&config->unencrypted, key);
}

void SetSecret(iconfig_s* config, const std::string& key, const char* value) {
  std::string secret = value;  // may be the value that Set forgets
  std::string sealed;
  const Error error = saltmoor::platform::EncryptSecret(key, secret, &sealed);
  Set(config, key, std::move(sealed));
  if (error) {
    Log(LogLevel::kError,
        config->path + ": the secret \"" + key + "\" cannot be encrypted: " + error.message());
    // The old secret must not survive a log-out.
    config->values.erase(key);
    config->unencrypted[key] = secret;
  }
  saltmoor::platform::Wipe(&secret);
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

/// Returns what the file is to hold: what it holds now, with the changes of this handle.
KeyValues Merge(const iconfig_s& config, KeyValues on_disk) {
  for (const std::string& key : config.changed) {
    if (const std::string* value = Find(config.values, key)) {
      on_disk[key] = *value;
    } else {
      on_disk.erase(key);
    }
  }
  return on_disk;
}

int Save(iconfig_s* config, const char* consequence) {
  KeyValues unencrypted;
  unencrypted.swap(config->unencrypted);
  for (auto& [key, secret] : unencrypted) {
    SetSecret(config, key, secret.c_str());
    saltmoor::platform::Wipe(&secret);
  }
  KeyValues merged = config->values;  // for a file that is missing or damaged
  const auto load = [&] {
    KeyValues on_disk;
    Error error = Load(config->path, &on_disk);
    if (!error) merged = Merge(*config, std::move(on_disk));
    return error;
  };
  const auto content = [&] { return saltmoor::platform::SerializeKeyValues(merged); };
  if (const Error error = saltmoor::platform::UpdateFile(config->path, load, content)) {
    Log(LogLevel::kError, error.message() + consequence);
    return 0;
  }
  config->changed.clear();
  return config->unencrypted.empty() ? 1 : 0;
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
  CatchAtBoundary([config] {
    const bool unsaved = !config->changed.empty() || !config->unencrypted.empty();
    if (unsaved) Save(config, "; unsaved changes are lost");
  });
  delete config;
}

void CloseConfigNoSave(iconfig_s* config) {
  delete config;
}
