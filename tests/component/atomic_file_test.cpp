// The library's files are replaced atomically, and silently on failure.

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "fake_device_fixture.h"

namespace saltmoor::quire {
namespace {

class AtomicFile : public FakeDeviceFixture {
 protected:
  Cart cart;
};

TEST_F(AtomicFile, ReplacesContentAndLeavesNoOtherFile) {
  for (const std::size_t size : {1000, 0}) {
    cart.orderItems.resize(size);
    cart.Save();
    EXPECT_EQ(ParseJson(ReadFile(kCartPath)), cart.ToJson());
  }
  EXPECT_EQ(ListFiles(kConfigDirectory), Lines{"quire_cart"});
}

TEST_F(AtomicFile, KeepsOldContentWhenDiskIsFull) {
  PrepareStart();
  ASSERT_EQ(manager().Init(), 0);
  manager().AddToCart(MakeBook("1"));
  const std::string old_cart = ReadFile(kCartPath), old_cache = ReadFile(kSwitchboardPath);
  // A limit of the size of files, which fails as a full disk does.
  std::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit{20, 20};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  manager().AddToCart(MakeBook("2"));
  EXPECT_EQ(manager().ConfigFromServer(), 0);
  EXPECT_EQ(ReadFile(kCartPath), old_cart);
  EXPECT_EQ(ReadFile(kSwitchboardPath), old_cache);
  EXPECT_EQ(ListFiles(kConfigDirectory), (Lines{"quire_cart", "switchboard.json"}));
  EXPECT_TRUE(manager().GetCart().IsContain("2"));
}

TEST_F(AtomicFile, IsWrittenInPlaceWithoutTempFile) {
  cart.Save();
  ASSERT_EQ(chmod(kConfigDirectory.c_str(), 0555), 0);
  DropPrivileges();
  cart.orderItems = {MakeBook("1")};
  cart.Save();
  EXPECT_EQ(ParseJson(ReadFile(kCartPath)), cart.ToJson());
  EXPECT_EQ(chmod(kConfigDirectory.c_str(), 0755), 0);
}

TEST_F(AtomicFile, IsUnchangedWhenReadOnly) {
  cart.Save();
  const std::string old = ReadFile(kCartPath);
  ASSERT_EQ(chmod(kCartPath.c_str(), 0444), 0);
  DropPrivileges();
  cart.orderItems = {MakeBook("1")};
  cart.Save();
  EXPECT_EQ(ReadFile(kCartPath), old);
  EXPECT_EQ(ListFiles(kConfigDirectory), Lines{"quire_cart"});
}

TEST_F(AtomicFile, FailsSilentlyWithoutDirectory) {
  std::filesystem::create_directory(kCartPath);
  std::filesystem::create_directory(kSwitchboardPath);
  PrepareStart();
  device.clock_s = {0};
  EXPECT_EQ(manager().Init(), 0);
  cart.AddToCart(MakeBook("1"));
  cart.Load();
  EXPECT_EQ(cart.GetSize(), 0u);
  EXPECT_TRUE(ListFiles(kCartPath).empty() && ListFiles(kSwitchboardPath).empty());
  std::filesystem::remove_all(kConfigDirectory);
  cart.AddToCart(MakeBook("1"));
  cart.Load();
  EXPECT_EQ(cart.GetSize(), 0u);
  EXPECT_FALSE(Exists(kConfigDirectory));
}

}  // namespace
}  // namespace saltmoor::quire
