#include <unistd.h>

#include <chrono>
#include <thread>

#include "fake_device_fixture.h"

namespace saltmoor::quire {
namespace {

const std::string kDownloads = "/mnt/ext1/Downloads/";
const std::string kError = "message 4 @DownloadError @DownloadError 7000";
const std::string kFinishing =
    "log 5 quire_store/src/data/store_manager:512 "
    "int saltmoor::quire::StoreManager::CheckDownloadState(): filename [" +
    kDownloads;
const Lines kScan = {"task find /ebrmain/bin/scanner.app",
                     "task send 7 84 -scan:/mnt/ext1/Downloads 0 2000", "sleep 200000"};

class StoreManagerDownloads : public FakeDeviceFixture {
 protected:
  void SetUp() override {
    FakeDeviceFixture::SetUp();
    device.scanner_task = 7;
    SetPurchased(R"([{"orderItemEAN":"A","orderItemAuthor":"M","orderItemTitle":"A?",
             "orderItemEbookLink":"https://shop/a"},
            {"orderItemEAN":"B","orderItemAuthor":"M","orderItemTitle":"B",
             "orderItemEbookLink":"https://shop/b"},
            {"orderItemEAN":"C","orderItemAuthor":"M","orderItemTitle":"C",
             "orderItemEbookFormat":"application/pdf","orderItemEbookLink":"https://shop/c"}])");
    device.ClearCalls();
  }

  int GetStatus(const std::string& ean) { return manager().GetBookStatus(ean).status; }

  /// Polls as an application does, until no download runs.
  /// \return the failure of the call that finished it.
  std::string Finish() {
    std::string failure;
    while (manager().CheckDownloadState() == 1) {
      failure += LastFailure();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return failure;
  }
};

TEST_F(StoreManagerDownloads, DecidesStatusInOrder) {
  for (const char* other : {"X", "a", "items/B"}) {
    EXPECT_EQ(GetStatus(other), BookStatus::kNotPurchased);
  }
  EXPECT_EQ(GetStatus("A"), BookStatus::kPurchased);
  WriteFile("/mnt/ext1/Digital Editions/A.epub", "");
  BookStatus status = manager().GetBookStatusById("catalogue/items/A");
  EXPECT_EQ(status.status, BookStatus::kDownloaded);
  EXPECT_EQ(status.path, "/mnt/ext1/Digital Editions/A.epub");
  manager().AddToCart(MakeBook("A"));
  status = manager().GetBookStatus("A");
  EXPECT_EQ(status.status, BookStatus::kInCart);
  EXPECT_EQ(status.path, "");
  EXPECT_EQ(manager().GetBookStatusById("items/A/").status, BookStatus::kNotPurchased);
}

TEST_F(StoreManagerDownloads, RenamesByContentTypeAndScansOrRemoves) {
  const std::tuple<const char*, const char*, const char*, bool> rows[] = {
      {"application/epub+zip; x", "M - T.bin", "M - T.epub", true},
      {"application/pdf", "M. N - T", "M.pdf", true},
      {"application/pdf; application/force-download", "M - T.bin", "M - T.pdf", true},
      {"application/force-download", "M - T.bin", "M - T.bin", true},
      {"application/force-download; x", "M - T", "M - T", false},
      {"application/force-download", "M - T.html", "M - T.html", false},
      {"text/html; charset=utf-8", "M - T", "M - T.htm", false},
      {"", "M - T.HTML", "M - T.HTML", true},
      {"APPLICATION/PDF", "M - T", "M - T", false},
      {"application/octet-stream", "Mi - T", "Mi - T", true},
      {"application/octet-stream", "M2 - T", "M2 - T", true},
      {"application/octet-stream", "MF - T", "MF - T", false}};
  for (const auto& [content_type, saved_name, name, kept] : rows) {
    SCOPED_TRACE(std::string(content_type) + " " + saved_name);
    device.download.content_type = content_type;
    device.download.saved_name = saved_name;
    device.ClearCalls();
    EXPECT_EQ(manager().DownloadBookById("A"), 0);
    EXPECT_EQ(Finish(), kept ? "" : "no book");
    const std::string file = kDownloads + name;
    EXPECT_EQ(manager().GetSavedPath(), kept ? file : "");
    EXPECT_EQ(device.Calls({"task", "sleep", "message", "unlink"}),
              kept ? kScan : (Lines{kError, "unlink " + file}));
    EXPECT_EQ(ListFiles(kDownloads), kept ? Lines{name} : Lines());
    unlink(file.c_str());
    EXPECT_EQ(device.Calls({"log"}), Lines{kFinishing + saved_name + "]"});
    EXPECT_EQ(GetStatus("A"), BookStatus::kPurchased);
  }
}

// A current book without properties has the empty EAN too.
TEST_F(StoreManagerDownloads, TreatsBookWithoutEanAsDownloading) {
  SetPurchased(R"([{"orderItemTitle":"no EAN"}])");
  EXPECT_EQ(GetStatus(""), BookStatus::kDownloading);
}

TEST_F(StoreManagerDownloads, ShowsFailureAndRemovesNothing) {
  manager().DownloadBookById("B");
  Finish();
  EXPECT_NE(manager().GetSavedPath(), "");
  device.download.result = 3;
  device.download.transport_error = 28;
  device.download.http_status = 404;
  for (const bool throws : {false, true}) {
    device.download.throws = throws;
    device.ClearCalls();
    manager().DownloadBookById("A");
    EXPECT_EQ(Finish(), "download 28 404: no book came");
    EXPECT_EQ(LastFailure() + manager().GetSavedPath(), "");
    EXPECT_EQ(device.Calls({"status of download"}).size(), 1u);
    EXPECT_EQ(device.Calls({"task", "sleep", "message", "unlink", "log"}), Lines{kError});
    EXPECT_EQ(GetStatus("A"), BookStatus::kPurchased);
  }
}

TEST_F(StoreManagerDownloads, FollowsFileThatCannotBeRenamed) {
  WriteFile(kDownloads + "M - A.pdf/file", "");
  device.download.content_type = "application/pdf";
  manager().DownloadBookById("A");
  EXPECT_EQ(Finish(), "");
  EXPECT_EQ(manager().GetSavedPath(), kDownloads + "M - A");
  EXPECT_TRUE(Exists(manager().GetSavedPath()));

  WriteFile(kDownloads + "M - B.htm/file", "");
  device.download.content_type = "text/html";
  manager().DownloadBookById("B");
  EXPECT_EQ(Finish(), "no book");
  EXPECT_FALSE(Exists(kDownloads + "M - B"));
}

TEST_F(StoreManagerDownloads, RequestsBookLinkUnderFileName) {
  device.scanner_task = -1;
  EXPECT_EQ(manager().DownloadBookById("X"), 0);
  EXPECT_EQ(manager().DownloadBookById("items/C"), 0);
  Finish();
  EXPECT_EQ(device.Calls({"download", "task", "sleep", "message"}),
            (Lines{"download https://shop/c as M - C.pdf", kScan[0]}));
}

TEST_F(StoreManagerDownloads, DropsBookQueuedWhileAnotherDownloads) {
  device.holds_downloads = true;
  EXPECT_EQ(manager().DownloadBookById("A"), 0);
  EXPECT_EQ(GetStatus("A"), BookStatus::kDownloading);
  WriteFile(kDownloads + "M - A.epub", "");
  EXPECT_EQ(GetStatus("A"), BookStatus::kDownloaded);
  unlink((kDownloads + "M - A.epub").c_str());
  EXPECT_EQ(manager().DownloadBookById("B"), 1);
  EXPECT_EQ(GetStatus("A"), BookStatus::kPurchased);
  const std::tuple<bool, int, int, int> rows[] = {{true, 100, 50, 50},
                                                  {true, 3, 2, 66},
                                                  {true, 2000000000, 1900000000, 95},
                                                  {true, 0, 50, 0},
                                                  {false, 100, 50, 0}};
  for (const auto& [active, total, done, progress] : rows) {
    device.download.active = active;
    device.download.total = total;
    device.download.done = done;
    const BookStatus status = manager().GetBookStatus("B");
    EXPECT_EQ(status.status, BookStatus::kDownloading);
    EXPECT_EQ(status.progress, progress);
    EXPECT_EQ(status.path, "");
  }
  EXPECT_EQ(manager().CheckDownloadState(), 1);
  device.ReleaseDownloads();
  Finish();
  EXPECT_EQ(GetStatus("A"), BookStatus::kDownloaded);
  EXPECT_EQ(GetStatus("B"), BookStatus::kPurchased);
  EXPECT_EQ(device.Calls({"download"}), Lines{"download https://shop/a as M - A"});
  EXPECT_EQ(manager().CheckDownloadState(), 0);
}

TEST_F(StoreManagerDownloads, StartsNextWhenPreviousHasEnded) {
  manager().DownloadBookById("A");
  // Only the call that queues the next book notices the end of the download.
  while (!Exists(kDownloads + "M - A")) std::this_thread::yield();
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_EQ(manager().DownloadBookById("C"), 1);
  Finish();
  EXPECT_EQ(device.Calls({"download"}).size(), 2u);
  EXPECT_EQ(GetStatus("A"), BookStatus::kDownloaded);
  EXPECT_EQ(GetStatus("C"), BookStatus::kDownloaded);
}

}  // namespace
}  // namespace saltmoor::quire
