// Replacements for functions of the platform, each with a fault that implementations have had.

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "saltmoor/utilities/http_request_runner.h"
#include "saltmoor/utilities/to_lower.h"
#include "tabulet.h"

namespace {

template <typename Function>
Function* Original(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

std::map<iconfig_s*, std::string> paths;

}  // namespace

extern "C" {

iconfig_s* OpenConfig(const char* path, const config_defaults_s* defaults) {
  iconfig_s* config = Original<decltype(OpenConfig)>("OpenConfig")(path, defaults);
  paths[config] = path;
  return config;
}

/// Writes the file in place, slowly.
int SaveConfig(iconfig_s* config) {
  if (truncate(paths[config].c_str(), 1000) == 0) usleep(2000);
  return Original<decltype(SaveConfig)>("SaveConfig")(config);
}

/// The download engine keeps the old content of a part file and appends to it.
int ftruncate(int, off_t) noexcept {
  return 0;
}

/// Deletes directories too.
int tb_unlink(const char* path) {
  return std::remove(path);
}

}  // extern "C"

namespace saltmoor {

/// Sends a request without a response again.
int utilities::HttpRequestRunner::PerformRequest(const HttpRequest& request, long* status,
                                                 std::vector<char>* body, unsigned timeout_s) {
  using Perform = int(HttpRequestRunner*, const HttpRequest&, long*, std::vector<char>*, unsigned);
  auto* const perform = Original<Perform>(
      "_ZN8saltmoor9utilities17HttpRequestRunner14PerformRequestERKNS0_11HttpRequestEPl"
      "PSt6vectorIcSaIcEEj");
  const int error = perform(this, request, status, body, timeout_s);
  const bool again = error != 0 && request.GetMethod() == "POST" && !request.GetFollowRedirects();
  return again ? perform(this, request, status, body, timeout_s) : error;
}

/// Crashes on non-ASCII characters.
std::string utilities::ToLower(const std::string& text) {
  for (const char c : text) {
    if (c < 0) std::abort();
  }
  return text;
}

}  // namespace saltmoor
