// The library's files are replaced atomically, and what cannot be saved is reported.

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>

#include "fake_device_fixture.h"

namespace saltmoor::quire {
namespace {

const Lines kOnlyCart = {"quire_cart"};

class AtomicFile : public FakeDeviceFixture {
 protected:
  /// Lets the calls `name` fail, from the given one on.
  static void FailFrom(const std::string& name, int number, int error) {
    device.on_file_call = [=, calls = 0](const std::string& call) mutable {
      return call == name && ++calls >= number ? error : 0;
    };
  }

  static std::string Saved(Cart& cart) {
    cart.Save();
    return ReadFile(kCartPath);
  }

  Cart cart;
};

TEST_F(AtomicFile, ReplacesContentAndLeavesNoOtherFile) {
  WriteFile(kCartPath + ".new", R"({"orderItems":[{"orderItemEAN":"L"}]})");
  cart.Load();
  EXPECT_EQ(cart.GetSize(), 0u);
  for (const std::size_t size : {1000, 0}) {
    cart.orderItems.resize(size);
    cart.Save();
    EXPECT_EQ(ParseJson(ReadFile(kCartPath)), cart.ToJson());
  }
  EXPECT_EQ(ListFiles(kConfigDirectory), kOnlyCart);
}

TEST_F(AtomicFile, FollowsLinkAndKeepsMode) {
  const std::string target = "/mnt/ext1/Downloads/cart";
  for (const bool exists : {false, true}) {
    ASSERT_EQ(exists ? chmod(target.c_str(), 0640) : symlink(target.c_str(), kCartPath.c_str()), 0);
    cart.orderItems.resize(exists ? 1 : 0);
    cart.Save();
    EXPECT_TRUE(std::filesystem::is_symlink(kCartPath));
    EXPECT_EQ(ParseJson(ReadFile(target)), cart.ToJson());
    struct stat status {};
    ASSERT_EQ(stat(target.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, exists ? 0640u : 0600u);
  }
}

TEST_F(AtomicFile, HasOldOrNewContentWhenCallFails) {
  int saves = 0, failed = 0;
  for (const std::string call : {"open", "write", "fsync", "rename"}) {
    for (const int error : {EIO, ENOSPC, EMFILE, EACCES}) {
      for (int number = 1; number < 12; ++number) {
        SCOPED_TRACE(call + " " + std::to_string(number) + " " + std::to_string(error));
        const std::string old = ReadFile(kCartPath);
        FailFrom(call, number, error);
        manager().AddToCart(MakeBook(std::to_string(++saves)));
        device.on_file_call = nullptr;
        const std::string content = ReadFile(kCartPath);
        const bool is_new = content == Json::StyledWriter().write(manager().GetCart().ToJson());
        EXPECT_TRUE(is_new || content == old) << content;
        const std::string reported = "not saved/quire_cart " + std::to_string(error);
        EXPECT_TRUE(LastFailure() == reported || (is_new && LastFailure().empty()));
        EXPECT_TRUE(ListFiles(kConfigDirectory) == kOnlyCart || content.empty());
        failed += is_new ? 0 : 1;
      }
    }
  }
  EXPECT_GT(failed, 12);
  manager().AddToCart(MakeBook("last"));
  EXPECT_EQ(LastFailure(), "");
}

TEST_F(AtomicFile, IsWrittenInPlaceOnlyIfDirectoryForbids) {
  const auto inode = [] {
    struct stat status {};
    stat(kCartPath.c_str(), &status);
    return status.st_ino;
  };
  const std::string old = Saved(cart);
  const ino_t old_inode = inode();
  cart.orderItems = {MakeBook("1")};
  // An error that goes away is not the directory's.
  for (const int number : {1, 3}) {  // the cart, and after the directory the temporary file
    device.on_file_call = [=, calls = 0](const std::string& call) mutable {
      return call == "open" && ++calls == number ? EMFILE : 0;
    };
    EXPECT_EQ(Saved(cart), old);
    device.on_file_call = nullptr;
  }

  ASSERT_EQ(chmod(kConfigDirectory.c_str(), 0555), 0);
  DropPrivileges();
  EXPECT_EQ(ParseJson(Saved(cart)), cart.ToJson());
  EXPECT_EQ(inode(), old_inode);
  const std::string content = ReadFile(kCartPath);
  cart.orderItems = {MakeBook("2"), MakeBook("3")};
  cart.opdsSessionId = kSession;  // near the beginning
  std::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit{100, RLIM_INFINITY};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  EXPECT_EQ(Saved(cart), content);
  EXPECT_EQ(chmod(kConfigDirectory.c_str(), 0755), 0);
}

TEST_F(AtomicFile, IsMovedAsideWhenItCannotBeRead) {
  const std::string bad = kCartPath + ".bad";
  const std::tuple<std::string, int, bool> rows[] = {
      {R"({"orderItems":[{"orderItemEAN":"1"}]})", 0, false},
      {R"({"orderItems":[{"orderItemEAN":"1"}]})", 1, true},
      {R"({"orderItems":[{"orderItemEAN":"1"}]})", 2, true},
      {R"({"orderItems":[{"orderItemEAN":"1"},{"orde)", 0, true},
      {"[]", 0, true},
      {"", 0, false}};
  for (const auto& [content, failing_read, moved] : rows) {
    SCOPED_TRACE(content);
    unlink(bad.c_str());
    WriteFile(kCartPath, content);
    if (failing_read != 0) FailFrom("read", failing_read, EIO);
    cart.Load();
    device.on_file_call = nullptr;
    cart.Save();
    EXPECT_EQ(Exists(bad) ? ReadFile(bad) : "", moved ? content : "");
    EXPECT_EQ(ReadFile(kCartPath), Json::StyledWriter().write(cart.ToJson()));
    cart.Save();
    EXPECT_EQ(Exists(bad) ? ReadFile(bad) : "", moved ? content : "");
  }
  PrepareStart();
  device.clock_s = {0};
  WriteFile(kSwitchboardPath, "{\"shopName\":");
  EXPECT_EQ(manager().Init(), 0);
  EXPECT_EQ(ReadFile(kSwitchboardPath + ".bad"), "{\"shopName\":");
}

TEST_F(AtomicFile, IsSavedOnceUnlessItChangesInBetween) {
  manager().AddToCart(MakeBook("1"));
  Lines calls;
  std::function<void()> change = [] {};
  device.on_file_call = [&](const std::string& call) {
    calls.push_back(call);
    // The first save ends by syncing the directory.
    if (call == "fsync" && std::count(calls.begin(), calls.end(), call) == 2) change();
    return 0;
  };
  const auto count_renames = [&] {
    calls.clear();
    manager().AddToCart(MakeBook(std::to_string(manager().GetCart().GetSize() + 1)));
    const auto renames = std::count(calls.begin(), calls.end(), "rename");
    EXPECT_EQ(ReadFile(kCartPath), Json::StyledWriter().write(manager().GetCart().ToJson()));
    return renames;
  };
  EXPECT_EQ(count_renames(), 1);
  const std::function<void()> changes[] = {
      [] { unlink(kCartPath.c_str()); },
      [] { WriteFile(kCartPath, std::string(ReadFile(kCartPath).size(), ' ')); },
      [] { std::filesystem::resize_file(kCartPath, 5); }};
  for (const auto& other : changes) {
    change = other;
    EXPECT_EQ(count_renames(), 2);
  }
}

TEST_F(AtomicFile, DoesNotWaitForForeignLock) {
  const int directory = open(kConfigDirectory.c_str(), O_RDONLY);
  ASSERT_EQ(flock(directory, LOCK_EX), 0);
  const auto begin = std::chrono::steady_clock::now();
  manager().AddToCart(MakeBook("1"));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1000));
  EXPECT_EQ(LastFailure(), "");
  EXPECT_TRUE(Exists(kCartPath));
  WriteFile(kCartPath + ".new", "of another program that writes");
  manager().RemoveFromCart(MakeBook("1"));
  EXPECT_EQ(LastFailure(), "not saved/quire_cart " + std::to_string(EEXIST));
  EXPECT_EQ(ReadFile(kCartPath + ".new"), "of another program that writes");
  close(directory);
  unlink(kCartPath.c_str());
  ASSERT_EQ(mkfifo(kCartPath.c_str(), 0600), 0);
  cart.Load();
  cart.Save();
}

TEST_F(AtomicFile, IsReportedWhenDiskIsFull) {
  PrepareStart();
  ASSERT_EQ(manager().Init(), 0);
  manager().AddToCart(MakeBook("1"));
  const std::string old_cart = ReadFile(kCartPath), old_cache = ReadFile(kSwitchboardPath);
  const auto expect_unsaved = [&](int error) {
    const std::string suffix = " " + std::to_string(error);
    EXPECT_EQ(manager().ConfigFromServer(), 0);
    EXPECT_EQ(LastFailure(), "not saved/switchboard.json" + suffix);
    const std::function<void()> calls[] = {[&] { manager().AddToCart(MakeBook("2")); },
                                           [&] { manager().RemoveFromCart(MakeBook("2")); },
                                           [&] { manager().RemoveFromCart(7u); },
                                           [&] { manager().LogOut(); }};
    for (const auto& call : calls) {
      call();
      EXPECT_EQ(LastFailure(), "not saved/quire_cart" + suffix);
    }
    EXPECT_EQ(ReadFile(kCartPath), old_cart);
    EXPECT_EQ(ReadFile(kSwitchboardPath), old_cache);
    EXPECT_EQ(ListFiles(kConfigDirectory), (Lines{"quire_cart", "switchboard.json"}));
  };
  FailFrom("write", 1, ENOSPC);
  expect_unsaved(ENOSPC);
  device.on_file_call = nullptr;
  for (const std::string& path : {kCartPath, kSwitchboardPath}) {
    ASSERT_EQ(chmod(path.c_str(), 0444), 0);
  }
  DropPrivileges();
  expect_unsaved(EACCES);
}

TEST_F(AtomicFile, IsReportedWhenCredentialsAreNotSaved) {
  PrepareStart();
  device.AddResponse("/registerUser", "{\"response\":{}}");
  device.config_saves = false;
  const std::function<void()> calls[] = {
      [&] { EXPECT_EQ(Describe(manager().LogIn("anna", kPassword)), "ok"); },
      [&] { EXPECT_EQ(Describe(manager().Register("e@x", kPassword, "N", "L", "T")), "ok"); },
      [&] { EXPECT_EQ(manager().NewSession(nullptr), 0); },
      [&] { EXPECT_EQ(manager().Init(), 0); }};
  for (const auto& call : calls) {
    call();
    EXPECT_EQ(LastFailure(), "not saved/quire_config.cfg");
  }
}

TEST_F(AtomicFile, FailsWithoutDirectory) {
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
