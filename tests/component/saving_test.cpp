// What the library keeps is replaced whole or not at all, and in silence.

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "on_device.h"

namespace saltmoor::quire {
namespace {

class Saving : public OnDevice {
 protected:
  Cart cart;
  std::string Content() { return cart.ToJson().toStyledString(); }

  /// From here on no file grows beyond this, as on a full disk.
  static void LimitFiles(rlim_t size_bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{size_bytes, size_bytes};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
};

TEST_F(Saving, ReplacesLongContentByShort_AndLeavesNothingElse) {
  cart.orderItems.resize(1000);
  cart.Save();
  cart.orderItems.clear();
  cart.Save();
  EXPECT_EQ(Parsed(ReadFile(kCartPath))["orderItems"].size(), 0u);
  EXPECT_EQ(FilesIn(kConfigFolder), Lines{"quire_cart"});
}

TEST_F(Saving, OnAFullDisk_KeepsTheOldContent) {
  ScriptStart();
  ASSERT_EQ(manager().Init(), 0);
  manager().AddToCart(BookOf("1"));
  const std::string old_cart = ReadFile(kCartPath), old_cache = ReadFile(kSwitchboardPath);
  LimitFiles(20);
  manager().AddToCart(BookOf("2"));
  EXPECT_EQ(manager().ConfigFromServer(), 0);
  EXPECT_EQ(ReadFile(kCartPath), old_cart);
  EXPECT_EQ(ReadFile(kSwitchboardPath), old_cache);
  EXPECT_EQ(FilesIn(kConfigFolder), (Lines{"quire_cart", "switchboard.json"}));
  EXPECT_TRUE(manager().GetCart().IsContain("2"));
}

TEST_F(Saving, WhereNoNeighbourCanBeMade_WritesInPlace) {
  cart.Save();
  ASSERT_EQ(chmod(kConfigFolder.c_str(), 0555), 0);
  DropPrivileges();
  cart.orderItems = {BookOf("1")};
  cart.Save();
  EXPECT_EQ(Parsed(ReadFile(kCartPath)), cart.ToJson());
  cart.orderItems.clear();
  cart.Save();
  EXPECT_EQ(Parsed(ReadFile(kCartPath)), cart.ToJson());
  EXPECT_EQ(chmod(kConfigFolder.c_str(), 0755), 0);
}

TEST_F(Saving, FileThatMayNotBeWritten_IsLeftAlone) {
  cart.Save();
  const std::string old = ReadFile(kCartPath);
  ASSERT_EQ(chmod(kCartPath.c_str(), 0444), 0);
  DropPrivileges();
  cart.orderItems = {BookOf("1")};
  cart.Save();
  EXPECT_EQ(ReadFile(kCartPath), old);
  EXPECT_EQ(FilesIn(kConfigFolder), Lines{"quire_cart"});
}

TEST_F(Saving, WithoutAPlaceForTheFile_IsSilent) {
  std::filesystem::create_directory(kCartPath);
  std::filesystem::create_directory(kSwitchboardPath);
  ScriptStart();
  device.clock_s = {0};
  EXPECT_NO_THROW(EXPECT_EQ(manager().Init(), 0));
  EXPECT_NO_THROW(cart.AddToCart(BookOf("1")));
  EXPECT_NO_THROW(cart.Load());
  EXPECT_EQ(cart.GetSize(), 0u);
  EXPECT_TRUE(FilesIn(kCartPath).empty() && FilesIn(kSwitchboardPath).empty());
  std::filesystem::remove_all(kConfigFolder);
  cart.AddToCart(BookOf("1"));
  cart.Load();
  EXPECT_EQ(cart.GetSize(), 0u);
  EXPECT_FALSE(Exists(kConfigFolder));
}

}  // namespace
}  // namespace saltmoor::quire
