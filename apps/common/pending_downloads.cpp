#include "pending_downloads.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

namespace app {

using Json = nlohmann::ordered_json;

PendingDownloads::PendingDownloads(std::string user, std::string file)
    : user_(std::move(user)), file_(std::move(file)) {
  const Json json = Json::parse(ReadStateFile(file_).value_or(""), nullptr, false);
  if (!json.is_object() || json.value("user", Json()) != user_) return;
  for (const Json& ean : json.value("eans", Json::array())) {
    if (ean.is_string()) eans_.push_back(ean);
  }
}

bool PendingDownloads::Add(const std::vector<std::string>& eans) {
  for (const std::string& ean : eans) {
    if (std::find(eans_.begin(), eans_.end(), ean) == eans_.end()) eans_.push_back(ean);
  }
  return Write();
}

bool PendingDownloads::Remove(const std::string& ean) {
  return std::erase(eans_, ean) == 0 || Write();
}

bool PendingDownloads::Write() const {
  const Json json = {{"user", user_}, {"eans", eans_}};
  return ReplaceStateFile(file_, json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
}

}  // namespace app
