#include "book_list.h"

#include <rapidjson/reader.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "book_reader.h"

namespace saltmoor::quire {
namespace {

// A member of a book as both conversions read it.
struct Member {
  bool present = false;
  std::string text;
  std::optional<std::int64_t> integer;
};

const std::string& ToString(const Member& member) {
  return member.text;
}

std::optional<std::int64_t> GetInt64(const Member& member) {
  return member.integer;
}

// The members that a book can have.
class MemberTable {
 public:
  // Members as they were found. Most books have the same ones in the same order, so the next one
  // is mostly known.
  struct Sequence {
    std::vector<std::pair<const std::string, Member>*> found;
    std::size_t next = 0;
  };

  MemberTable() {
    for (const auto& row : Book::s_book_int_map) members_[row.first];
    for (const auto& row : Book::s_book_string_map) members_[row.first];
    members_[kPriceKey];
  }

  // \return null when no book has such a member.
  Member* Find(std::string_view key, Sequence& sequence) {
    auto& [found, next] = sequence;
    if (next == found.size() || found[next]->first != key) {
      const auto member = members_.find(key);
      if (member == members_.end()) return nullptr;
      found.resize(next);
      found.push_back(&*member);
    }
    return &found[next++]->second;
  }

  void Clear() {
    for (auto& entry : members_) entry.second.present = false;
  }

 private:
  std::map<std::string, Member, std::less<>> members_;
};

// Receives the events of the reader. Each returns whether to go on.
class ListHandler : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, ListHandler> {
 public:
  bool Null() { return AddValue({}); }
  bool Bool(bool value) { return AddValue(value ? "true" : "false"); }
  bool Int(int value) { return AddInteger(value); }
  bool Uint(unsigned value) { return AddInteger(value); }
  bool Int64(std::int64_t value) { return AddInteger(value); }
  bool Uint64(std::uint64_t value) {
    return value <= INT64_MAX ? AddInteger(static_cast<std::int64_t>(value)) : AddValue({});
  }
  bool Double(double /*value*/) { return AddValue({}); }
  bool String(const char* text, rapidjson::SizeType size, bool /*copy*/) {
    return AddValue({text, size});
  }

  bool Key(const char* text, rapidjson::SizeType size, bool /*copy*/) {
    const std::string_view key(text, size);
    if (depth_ == kInRoot) {
      key_ = key == "error" ? kError : key == "response" ? kResponse : kOther;
    } else if (IsInBook()) {
      member_ = members_.Find(key, sent_);
    }
    return true;
  }

  bool StartObject() {
    if (depth_ == kInList && in_list_) {
      members_.Clear();
      sent_.next = 0;
      in_book_ = true;
    } else if (depth_ != 0 && !AddValue({})) {
      return false;
    }
    return ++depth_ <= kMaxDepth;
  }

  bool EndObject(rapidjson::SizeType /*size*/) {
    if (--depth_ == kInList && in_book_) {
      in_book_ = false;
      read_.next = 0;
      books_.push_back(ReadBook([this](const std::string& key) -> const Member* {
        const Member* const member = members_.Find(key, read_);
        return member != nullptr && member->present ? member : nullptr;
      }));
    }
    return true;
  }

  bool StartArray() {
    if (depth_ == kInRoot && key_ == kResponse && !has_list_) {
      has_list_ = in_list_ = true;
    } else if (!AddValue({})) {
      return false;
    }
    return ++depth_ <= kMaxDepth;
  }

  bool EndArray(rapidjson::SizeType /*size*/) {
    if (--depth_ == kInRoot) in_list_ = false;
    return true;
  }

  /// The books; nothing when the response has no list or is a refusal.
  std::optional<std::vector<Book>> TakeBooks() {
    if (!has_list_ || is_refusal_) return std::nullopt;
    return std::move(books_);
  }

 private:
  // Within how many objects and arrays an event is.
  enum Depth { kInRoot = 1, kInList = 2, kInBook = 3, kMaxDepth = 100 };

  bool IsInBook() const { return depth_ == kInBook && in_book_; }

  bool AddInteger(std::int64_t value) { return AddValue(std::to_string(value), value); }

  // \param text  empty for an object or an array.
  bool AddValue(std::string_view text, std::optional<std::int64_t> integer = std::nullopt) {
    if (depth_ == 0) return false;
    if (depth_ == kInRoot && key_ == kResponse) return false;
    if (depth_ == kInRoot && key_ == kError) is_refusal_ = text == "true";
    if (depth_ == kInList && in_list_) books_.emplace_back();
    if (IsInBook() && member_ != nullptr) {
      member_->present = true;
      member_->text = text;
      member_->integer = integer;
    }
    return true;
  }

  int depth_ = 0;
  enum { kOther, kError, kResponse } key_ = kOther;
  bool is_refusal_ = false;
  bool has_list_ = false;
  bool in_list_ = false;
  bool in_book_ = false;
  MemberTable members_;
  MemberTable::Sequence sent_;
  MemberTable::Sequence read_;
  Member* member_ = nullptr;  // of the last key; null when no book has it
  std::vector<Book> books_;
};

}  // namespace

std::optional<std::vector<Book>> ReadBookList(std::vector<char>& response) {
  response.push_back('\0');
  rapidjson::StringStream stream(response.data());
  ListHandler handler;
  const bool parsed = !rapidjson::Reader().Parse(stream, handler).IsError();
  response.pop_back();
  return parsed ? handler.TakeBooks() : std::nullopt;
}

}  // namespace saltmoor::quire
