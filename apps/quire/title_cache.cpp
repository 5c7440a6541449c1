#include "title_cache.h"

#include "json_output.h"
#include "text.h"

namespace app {
namespace {

constexpr std::size_t kMaxTitles = 5000;
constexpr int kMaxTitle_columns = 100;

}  // namespace

TitleCache::TitleCache(std::string file) : file_(std::move(file)) {
  const Json json = Json::parse(ReadStateFile(file_).value_or(""), nullptr, false);
  if (!json.is_object()) return;
  for (const char* key : {"catalogue", "bought"}) {
    const auto titles = json.find(key);
    if (titles == json.end() || !titles->is_object()) continue;
    for (const auto& [ean, title] : titles->items()) {
      if (title.is_string()) titles_[ean] = {title.get<std::string>(), key[0] == 'b'};
    }
  }
}

std::string TitleCache::Find(const std::string& ean) const {
  const auto found = titles_.find(ean);
  return found == titles_.end() ? std::string() : found->second.text;
}

void TitleCache::Add(const std::vector<std::pair<std::string, std::string>>& titles,
                     bool are_bought) {
  bool has_changed = false;
  if (titles_.size() + titles.size() > 2 * kMaxTitles) titles_.clear();
  for (const auto& [ean, title] : titles) {
    if (ean.empty() || titles_.size() > kMaxTitles) continue;
    const std::string text = Truncate(MakePrintable(title), kMaxTitle_columns);
    Title& known = titles_[ean];
    has_changed = has_changed || known.text != text || (are_bought && !known.is_bought);
    known = {text, known.is_bought || are_bought};
  }
  if (!has_changed) return;
  Json json = {{"catalogue", Json::object()}, {"bought", Json::object()}};
  for (const auto& [ean, title] : titles_) {
    json[title.is_bought ? "bought" : "catalogue"][ean] = title.text;
  }
  static_cast<void>(ReplaceStateFile(file_, SerializeJson(json)));
}

}  // namespace app
