#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "order_journal.h"
#include "pending_downloads.h"
#include "support/files.h"

namespace app {
namespace {

/// A directory for the files in which the application keeps its state.
class StateDirectory : public testing::Test {
 protected:
  static RecordedOrder Order(const std::string& id, const std::string& user) {
    RecordedOrder order;
    order.id = id;
    order.user = user;
    order.titles = {{"1", "“Küche”", false}, {"2", "b\xFF", true}};
    return order;
  }

  const tests::TemporaryDirectory directory_;
  const std::string file_ = directory_ / "state.json";
};

TEST_F(StateDirectory, KeepsAnOrderUntilItHasEnded) {
  EXPECT_TRUE(OrderJournal(file_).Put(Order("1", "anna")));
  EXPECT_TRUE(OrderJournal(file_).Put(Order("2", "ben")));
  struct stat status {};
  ASSERT_EQ(stat(file_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
  auto open = OrderJournal(file_).FindOpen("anna");
  ASSERT_TRUE(open);
  EXPECT_EQ(open->id, "1");
  ASSERT_EQ(open->titles.size(), 2U);
  EXPECT_EQ(open->titles[0].title, "“Küche”");
  EXPECT_TRUE(open->titles[1].was_owned);

  open->state = RecordedOrder::State::kPlaced;
  EXPECT_TRUE(OrderJournal(file_).Put(*open));
  EXPECT_FALSE(OrderJournal(file_).FindOpen("anna"));
  EXPECT_EQ(OrderJournal(file_).FindPlaced("anna").size(), 1U);
  EXPECT_TRUE(OrderJournal(file_).RemoveUser("anna"));
  EXPECT_TRUE(OrderJournal(file_).FindPlaced("anna").empty());
  EXPECT_TRUE(OrderJournal(file_).Remove(Order("2", "ben")));
  EXPECT_FALSE(OrderJournal(file_).FindOpen("ben"));
}

TEST_F(StateDirectory, DropsTheOldestPlacedOrdersOnly) {
  std::string orders;
  for (std::size_t i = 0; i < OrderJournal::kMaxPlaced + 1; ++i) {
    orders += R"({"user": "anna", "method": "", "is_placed": true, "titles": [], "total": "",)"
              R"("started_s": 0, "placed": "", "id": ")" +
              std::to_string(i) + "\"},";
  }
  orders.back() = ']';
  tests::WriteFile(file_, "{\"orders\": [" + orders + "}");
  EXPECT_TRUE(OrderJournal(file_).Put(Order("open", "anna")));
  RecordedOrder latest = Order("latest", "anna");
  latest.state = RecordedOrder::State::kPlaced;
  EXPECT_TRUE(OrderJournal(file_).Put(latest));
  const auto placed = OrderJournal(file_).FindPlaced("anna");
  ASSERT_EQ(placed.size(), OrderJournal::kMaxPlaced);
  EXPECT_EQ(placed.back().id, "2");
  EXPECT_TRUE(OrderJournal(file_).FindOpen("anna"));
}

TEST_F(StateDirectory, MovesADamagedJournalAside) {
  for (const char* content : {"{", "[]", "{\"orders\": [{}]}", "{\"orders\": [{\"id\": 5}]}"}) {
    tests::WriteFile(file_, content);
    OrderJournal journal(file_);
    EXPECT_TRUE(journal.was_damaged()) << content;
    EXPECT_TRUE(journal.is_known());
    EXPECT_EQ(tests::ReadFile(file_ + ".bad"), content);
    EXPECT_TRUE(journal.Put(Order("1", "anna")));
  }
  std::filesystem::remove(file_);
  std::filesystem::create_directory(file_);
  OrderJournal unreadable(file_);
  EXPECT_FALSE(unreadable.is_known());
  EXPECT_FALSE(unreadable.Put(Order("1", "anna")));
}

TEST_F(StateDirectory, LocksOutASecondHolder) {
  {
    const FileLock lock(file_);
    EXPECT_EQ(lock.state(), FileLock::State::kHeld);
    EXPECT_EQ(FileLock(file_).state(), FileLock::State::kBusy);
  }
  EXPECT_EQ(FileLock(file_).state(), FileLock::State::kHeld);
  EXPECT_EQ(FileLock(directory_ / "missing/lock").state(), FileLock::State::kFailed);
}

TEST_F(StateDirectory, KeepsDownloadsOfTheirUser) {
  EXPECT_TRUE(PendingDownloads("anna", file_).Add({"2", "1"}));
  EXPECT_TRUE(PendingDownloads("anna", file_).Add({"1", "3"}));
  EXPECT_EQ(PendingDownloads("anna", file_).eans(), (std::vector<std::string>{"2", "1", "3"}));
  EXPECT_TRUE(PendingDownloads("ben", file_).eans().empty());
  EXPECT_TRUE(PendingDownloads("anna", file_).Remove("2"));
  EXPECT_EQ(PendingDownloads("anna", file_).eans(), (std::vector<std::string>{"1", "3"}));
  for (const char* content : {"", "[1]", "{\"user\": \"anna\", \"eans\": 5}"}) {
    tests::WriteFile(file_, content);
    EXPECT_TRUE(PendingDownloads("anna", file_).eans().empty()) << content;
  }
}

}  // namespace
}  // namespace app
