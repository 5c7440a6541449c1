#include "cart_file.h"

#include <map>
#include <utility>

#include "book_properties.h"
#include "device_paths.h"
#include "json.h"

namespace saltmoor::quire {
namespace {

// The members that items can have, in the order of the file: that of their keys.
class ItemWriter {
 public:
  ItemWriter() {
    for (const auto& [key, property] : Book::s_book_int_map) AddMember(key).int_prop = &property;
    for (const auto& [key, property] : Book::s_book_string_map) {
      AddMember(key).string_prop = &property;
    }
    AddMember(kPriceKey).is_price = true;
  }

  void Append(const Book& book, std::string& out) const {
    const char* separator = "      {\n         ";
    for (const auto& [key, member] : members_) {
      const std::size_t begin = out.size();
      out.append(separator).append(member.quoted_key);
      if (AppendValue(book, member, out)) {
        separator = ",\n         ";
      } else {
        out.resize(begin);
      }
    }
    out += "\n      }";
  }

 private:
  struct Member {
    std::string quoted_key;  // and what separates it from its value
    const Book::IntProps* int_prop = nullptr;
    const Book::StringProps* string_prop = nullptr;
    bool is_price = false;
  };

  Member& AddMember(const std::string& key) {
    Member& member = members_[key];
    member.quoted_key.clear();
    AppendQuoted(key, member.quoted_key);
    member.quoted_key += " : ";
    return member;
  }

  // \return false when the book has no such member.
  static bool AppendValue(const Book& book, const Member& member, std::string& out) {
    if (member.is_price) {
      out.append("\"").append(FormatPrice(book)).append("\"");
      return true;
    }
    if (member.string_prop != nullptr) {
      const auto text = book.string_props.find(*member.string_prop);
      if (text != book.string_props.end()) {
        AppendQuoted(text->second, out);
        return true;
      }
    }
    if (member.int_prop == nullptr) return false;
    const auto number = book.int_props.find(*member.int_prop);
    if (number == book.int_props.end()) return false;
    out += std::to_string(number->second);
    return true;
  }

  std::map<std::string, Member> members_;
};

}  // namespace

std::string SerializeCart(const Cart& cart) {
  constexpr std::size_t kUsualItemSize_bytes = 1200;
  std::string out;
  out.reserve((cart.orderItems.size() + 1) * kUsualItemSize_bytes);
  const auto append = [&out](const char* before, const std::string& text) {
    AppendQuoted(text, out += before);
  };
  append("{\n   \"opdsSessionId\" : ", cart.opdsSessionId);
  append(",\n   \"order\" : {\n      \"cartLastChange\" : ", cart.cartLastChange);
  out.append(",\n      \"orderAmount\" : ").append(FormatReal(cart.orderAmount));
  append(",\n      \"orderId\" : ", cart.orderId);
  append(",\n      \"userID\" : ", cart.userID);
  out += "\n   },\n   \"orderItems\" : [";
  const ItemWriter writer;
  const char* separator = "\n";
  for (const Book& item : cart.orderItems) {
    out += std::exchange(separator, ",\n");
    writer.Append(item, out);
  }
  out += cart.orderItems.empty() ? "]\n}\n" : "\n   ]\n}\n";
  return out;
}

CartFile::~CartFile() {
  failure_.RecordSave(paths::kCart, saved_.error);
}

void CartFile::Save() {
  if (saved_.version && GetFileVersion(paths::kCart) == saved_.version) return;
  if (content_.empty()) content_ = SerializeCart(cart_);
  saved_ = ReplaceFile(paths::kCart, content_);
}

}  // namespace saltmoor::quire
