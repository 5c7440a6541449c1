#include "acquisition.h"

#include "fake_device_fixture.h"

namespace saltmoor::quire {
namespace {

using OPDS::AttributeMap;
using OPDS::IndirectAcquisition;
using OPDS::Object;

IndirectAcquisition* Make(const std::string& type, const std::vector<Object*>& children = {}) {
  auto* const item = new IndirectAcquisition(AttributeMap{{"rel", "x"}, {"type", type}});
  for (Object* const child : children) EXPECT_TRUE(item->addChild(child));
  return item;
}

TEST(IndirectAcquisition, OwnsIndirectAcquisitionsOnly) {
  static Lines deleted;
  struct Child : IndirectAcquisition {
    explicit Child(const char* name) : IndirectAcquisition(AttributeMap{{"type", name}}) {}
    ~Child() override { deleted.push_back(type); }
  };
  {
    const std::unique_ptr<IndirectAcquisition> parent(Make("", {new Child("a"), new Child("b")}));
    Object other(8);
    EXPECT_FALSE(parent->addChild(&other) || parent->addChild(nullptr) || other.addChild(&other));
    EXPECT_EQ(parent->kind, 9);
    ASSERT_EQ(parent->children.size(), 2u);
    EXPECT_EQ(parent->children[1].type, "b");
    EXPECT_EQ(deleted, Lines());
  }
  EXPECT_EQ(deleted, (Lines{"a", "b"}));
  EXPECT_EQ(IndirectAcquisition(AttributeMap{{"Type", "x"}}).type, "");
}

// By the Itanium ABI, also on 32-bit ARM: the destructor has the first two slots, and the object is
// the first argument.
TEST(IndirectAcquisition, HasContractVtableLayout) {
  Object* const item = Make("");
  void* const* const slots = *reinterpret_cast<void* const* const*>(item);
  const auto add_child = reinterpret_cast<bool (*)(Object*, Object*)>(slots[2]);
  const auto append_content = reinterpret_cast<void (*)(Object*, const std::string&)>(slots[3]);
  const auto delete_it = reinterpret_cast<void (*)(Object*)>(slots[1]);
  EXPECT_TRUE(add_child(item, Make("text/plain")));
  append_content(item, "ignored");
  EXPECT_EQ(static_cast<IndirectAcquisition*>(item)->children.front().type, "text/plain");
  EXPECT_EQ(reinterpret_cast<char*>(&item->kind) - reinterpret_cast<char*>(item),
            std::ptrdiff_t{sizeof(void*)});
  delete_it(item);
}

TEST(MakeFormat, ListsFormatsParentsFirstAndReportsTicket) {
  const std::string acsm = "application/vnd.adobe.adept+xml", epub = "application/epub+zip";
  const std::tuple<Object*, bool, bool, const char*, const char*> rows[] = {
      {Make("application/pdf", {Make(acsm, {Make(epub)})}), false, true, "", "PDF,EPUB"},
      {Make(epub, {Make(epub), Make("text/html")}), true, true, "", "EPUB,EPUB,HTM"},
      {Make("", {Make("application/octet-stream", {Make(acsm)})}), false, true, "", ""},
      {Make(epub), false, false, "X", "X,EPUB"}};
  for (const auto& [item, flag_before, flag, before, formats] : rows) {
    const std::unique_ptr<IndirectAcquisition> root(Make("", {item}));
    std::stringstream out(before);
    bool has_acsm = flag_before;
    MakeFormat(out, has_acsm, root->children);
    EXPECT_EQ(out.str(), formats);
    EXPECT_EQ(has_acsm, flag) << formats;
  }
}

TEST(MakeFormat, TruncatesTo63BytesAndKeepsLowerCase) {
  const std::unique_ptr<IndirectAcquisition> root(Make("", {Make("text/plain")}));
  bool has_acsm = false;
  const std::pair<std::string, std::string> rows[] = {{std::string(100, 'X'), std::string(63, 'X')},
                                                      {"", "txt"}};
  for (const auto& [upper_case, written] : rows) {
    device.upper_case = upper_case;
    std::stringstream out;
    MakeFormat(out, has_acsm, root->children);
    EXPECT_EQ(out.str(), written);
  }
}

}  // namespace
}  // namespace saltmoor::quire
