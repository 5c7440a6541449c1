#include "title_cache.h"

#include <utility>

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
  const auto first = json.find("first_number");
  const auto list = json.find("list");
  if (first == json.end() || !first->is_number_unsigned() || list == json.end()) return;
  first_number_ = first->get<std::size_t>();
  for (const Json& ean : *list) {
    list_.push_back(ean.is_string() ? ean.get<std::string>() : std::string());
  }
}

std::string TitleCache::Find(const std::string& ean) const {
  const auto found = titles_.find(ean);
  return found == titles_.end() ? std::string() : found->second.text;
}

std::string TitleCache::FindEan(std::size_t number) const {
  const bool is_listed = number >= first_number_ && number - first_number_ < list_.size();
  return is_listed ? list_[number - first_number_] : std::string();
}

void TitleCache::Insert(const std::vector<NamedTitle>& titles, bool are_bought) {
  if (titles_.size() + titles.size() > 2 * kMaxTitles) titles_.clear();
  for (const NamedTitle& title : titles) {
    if (title.id.empty() || titles_.size() > kMaxTitles) continue;
    Title& known = titles_[title.id];
    known = {Truncate(MakePrintable(title.title), kMaxTitle_columns),
             known.is_bought || are_bought};
  }
}

bool TitleCache::ReplaceList(std::size_t first_number, const std::vector<NamedTitle>& titles,
                             bool are_bought) {
  Insert(titles, are_bought);
  first_number_ = first_number;
  list_.clear();
  for (const NamedTitle& title : titles) list_.push_back(title.id);
  return Save();
}

bool TitleCache::Save() const {
  Json json = {{"catalogue", Json::object()},
               {"bought", Json::object()},
               {"first_number", first_number_},
               {"list", list_}};
  for (const auto& [ean, title] : titles_) {
    json[title.is_bought ? "bought" : "catalogue"][ean] = title.text;
  }
  return ReplaceStateFile(file_, SerializeJson(json));
}

}  // namespace app
