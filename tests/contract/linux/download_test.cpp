// The download engine with short time limits, and the files that it leaves.

#include "platform/linux/opds/download.h"

#include <sys/stat.h>

#include "platform/linux/opds/content_range.h"
#include "saltmoor/opds/resource_downloader.h"
#include "support/scripted_server.h"
#include "support/suite.h"

namespace {

using namespace saltmoor::platform;
using std::chrono::milliseconds;

constexpr int kSize = 10'000;
constexpr int kHalf = 5'000;

class LinuxDownload : public testing::Test {
 protected:
  /// Downloads "book" and returns whether it was saved.
  bool Fetch(const ScriptedServer& server, DownloadLimits limits = {2, 1, {}}) {
    PartFile part(directory_.path(), "book");
    Error error = part.Open(server.Url());
    EXPECT_FALSE(error) << error.message();
    Download download(
        &part, server.Url(), [](auto, auto) {}, limits);
    error = download.Run();
    content_type_ = download.content_type();
    EXPECT_EQ(!error, fs::exists(directory_ / "book")) << error.message();
    return !error;
  }
  /// Downloads the part that an interrupted download left out.
  void FetchRest(const ScriptedServer& server, DownloadLimits limits = {2, 1, {}}) {
    EXPECT_TRUE(Fetch(server, limits));
    EXPECT_TRUE(ReadAll(directory_ / "book") == book_);
  }
  Response FirstHalf(HeaderLines headers, AfterResponse after = AfterResponse::kClose) const {
    headers.push_back("Content-Type: book");
    const std::string whole = MakeResponse(200, book_, headers);
    return {whole.substr(0, whole.size() - kHalf), after};
  }
  Response SecondHalf(const HeaderLines& headers) const {
    return MakeResponse(206, book_.substr(kHalf), headers);
  }

  ScriptedServer::Script HangHalfway() const {
    return [this](const Request& request) {
      return request.connection == 1 ? FirstHalf({tag_}, AfterResponse::kHang)
                                     : SecondHalf({range_});
    };
  }

  const TemporaryDirectory directory_;
  const std::string book_ = UniqueBytes(kSize);
  const std::string tag_ = "ETag: \"v1\"";
  const std::string range_ = "Content-Range: bytes 5000-9999/10000";
  std::string content_type_;
};

TEST_F(LinuxDownload, FinishesWhenRangeStartsAtEnd) {
  ScriptedServer server([&](const Request& request) -> Response {
    if (request.connection != 1) {
      return MakeResponse(416, "<html>", {"Content-Range: bytes */10000", "Content-Type: html"});
    }
    const std::string head = "HTTP/1.1 200 OK\r\nContent-Type: book\r\n" + tag_;
    return {head + "\r\nTransfer-Encoding: chunked\r\n\r\n2710\r\n" + book_, AfterResponse::kClose};
  });
  EXPECT_FALSE(Fetch(server)) << "all bytes, but no proper end";
  FetchRest(server);
  EXPECT_EQ(content_type_, "book");
}

TEST_F(LinuxDownload, ResumesOnlyWithStrongValidator) {
  const std::string modified = "Last-Modified: Mon, 01 Jan 2024 10:00:00 GMT";
  const struct {
    HeaderLines headers;
    std::string if_range;  // empty if the whole file is requested
  } cases[] = {
      {{tag_, modified}, "\"v1\""},
      {{"ETag: W/\"v1\"", modified}, "Mon, 01 Jan 2024 10:00:00 GMT"},
      {{modified, "Date: Mon, 01 Jan 2024 10:00:01 GMT"}, "Mon, 01 Jan 2024 10:00:00 GMT"},
      {{modified, "Date: Mon, 01 Jan 2024 10:00:00 GMT"}, ""},
      {{"ETag: W/\"v1\""}, ""},
      {{}, ""},
  };
  for (const auto& [headers, if_range] : cases) {
    ScriptedServer server([&, &sent = headers](const Request& request) {
      if (request.connection == 1) return FirstHalf(sent);
      return request["range"].empty() ? Response(MakeResponse(200, book_)) : SecondHalf({range_});
    });
    EXPECT_FALSE(Fetch(server));
    EXPECT_EQ(fs::exists(directory_ / "book.part"), !if_range.empty());
    FetchRest(server);
    EXPECT_EQ(server.requests().back()["if-range"], if_range);
    fs::remove(directory_ / "book");
  }
}

TEST_F(LinuxDownload, LeavesNothingAfterUnusableResponses) {
  const struct {
    Response response;
    std::size_t requests;
  } cases[] = {
      {MakeResponse(200, book_, {"Content-Encoding: gzip"}), 1},  // not requested
      {SecondHalf({range_}), 1},
      {FirstHalf({}), 3},  // always ends at the same byte
  };
  for (const auto& [response, requests] : cases) {
    ScriptedServer server(response);
    EXPECT_FALSE(Fetch(server, {2, 1, {milliseconds(1), milliseconds(1)}}));
    EXPECT_EQ(server.requests().size(), requests);
    EXPECT_TRUE(directory_.Names().empty());
  }
}

TEST_F(LinuxDownload, RestartsRetryCountWhenBytesArrive) {
  ScriptedServer server([&](const Request& request) -> Response {
    const int begin = (request.connection - 1) / 2 * 500;
    if (request.connection % 2 == 0) return MakeResponse(503, "busy");
    const std::string span = std::to_string(begin) + "-9999/10000";
    const std::string whole = MakeResponse(begin == 0 ? 200 : 206, book_.substr(begin),
                                           {tag_, "Content-Range: bytes " + span});
    return {whole.substr(0, whole.size() - (kSize - begin - 500)), AfterResponse::kClose};
  });
  FetchRest(server, {2, 1, {milliseconds(1), milliseconds(1)}});
  EXPECT_EQ(server.requests().size(), 39u);
}

TEST_F(LinuxDownload, RetriesAfterStall) {
  ScriptedServer server(HangHalfway());
  FetchRest(server, {2, 1, {milliseconds(1)}});
}

TEST_F(LinuxDownload, ResumesAfterKill) {
  ScriptedServer server(HangHalfway());
  ForkedProcess child([&] { return Fetch(server, {60, 60, {}}) ? 1 : 0; });
  // Wait until the bytes are recorded as synced.
  const std::string info = directory_ / "book.part.info";
  EXPECT_TRUE(WaitFor([&] { return ReadAll(info).find("\n5000\n") != std::string::npos; }));
  EXPECT_EQ(child.Kill(), -SIGKILL);
  FetchRest(server);
  EXPECT_EQ(server.requests().size(), 2u);
}

TEST_F(LinuxDownload, ResumesOnlySyncedBytesAfterPowerFailure) {
  ScriptedServer server([&](const Request& request) {
    return request.connection == 1 ? FirstHalf({tag_}) : SecondHalf({range_});
  });
  EXPECT_FALSE(Fetch(server));
  // Bytes written after the last sync may be zeros after a power failure.
  const std::string part_bytes = ReadAll(directory_ / "book.part") + std::string(100, '\0');
  const std::string info = ReadAll(directory_ / "book.part.info");
  for (std::size_t size = 0; size < info.size(); ++size) {
    WriteAll(directory_ / "book.part.info", info.substr(0, size));
    WriteAll(directory_ / "book.part", part_bytes);
    PartFile part(directory_.path(), "book");
    ASSERT_FALSE(part.Open(server.Url()));
    ASSERT_EQ(part.size_bytes(), 0) << "truncated record";
  }
  WriteAll(directory_ / "book.part.info", info);
  WriteAll(directory_ / "book.part", part_bytes);
  FetchRest(server);
}

// Some file systems allow a little less than 255 bytes.
TEST_F(LinuxDownload, ResumesLongNameUnderShorterOnes) {
  const std::string name = std::string(249, 'n') + ".epub";
  std::size_t longest = 0;
  ScriptedServer server([&](const Request& request) -> Response {
    for (const std::string& used : directory_.Names()) longest = std::max(longest, used.size());
    if (request.connection == 1) return FirstHalf({tag_});
    return request["range"].empty() ? Response(MakeResponse(200, book_)) : SecondHalf({range_});
  });
  saltmoor::opds::ResourceDownloader downloader(directory_.path(), nullptr);
  EXPECT_EQ(downloader.DownloadResource(server.Url(), name, {}), 0);
  EXPECT_EQ(server.requests().back()["if-range"], "\"v1\"");
  EXPECT_LE(longest, 230U);
  EXPECT_EQ(directory_.Names(), std::set<std::string>{name});
  EXPECT_TRUE(ReadAll(directory_ / name) == book_);
}

TEST_F(LinuxDownload, LocksPartFile) {
  PartFile first(directory_.path(), "book");
  PartFile second(directory_.path(), "book");
  ASSERT_FALSE(first.Open("http://a.example/"));
  const Error error = second.Open("http://a.example/");
  EXPECT_NE(error.message().find("another download"), std::string::npos);
}

TEST_F(LinuxDownload, CreatesFilesAndDirectoriesForOwnerOnly) {
  umask(0);
  PartFile part(directory_ / "a/b", "book");
  ASSERT_FALSE(part.Open("http://a.example/"));
  EXPECT_EQ(fs::status(directory_ / "a").permissions(), fs::perms(0700));
  EXPECT_EQ(fs::status(directory_ / "a/b").permissions(), fs::perms(0700));
  EXPECT_EQ(fs::status(directory_ / "a/b/book.part").permissions(), fs::perms(0600));
}

TEST_F(LinuxDownload, ReportsSizesAbove2GiBInLargerUnits) {
  constexpr std::int64_t kPart = 3LL << 30;
  ScriptedServer server(
      MakeResponse(206, "0123456789", {"Content-Range: bytes 3221225472-3221225481/3221225482"}));
  WriteAll(directory_ / "big.part", "");
  fs::resize_file(directory_ / "big.part", kPart);
  WriteAll(directory_ / "big.part.info", server.Url() + "\n\"v1\"\nbook\n3221225482\n3221225472\n");
  saltmoor::opds::ResourceDownloader downloader(directory_.path(), nullptr);
  int total = 0;
  int done = 0;
  const auto ask = [&](int) { downloader.GetProgress(nullptr, nullptr, &total, &done); };
  EXPECT_EQ(downloader.DownloadResource(server.Url(), "big", ask), 0);
  EXPECT_EQ(total, (kPart + 10) / 2);
  EXPECT_EQ(done, total);
  EXPECT_EQ(downloader.GetStatusInfo().size, kPart + 10);
}

TEST(ContentRange, ParsesOnlyValidHeaders) {
  const struct {
    const char* value;
    std::int64_t first, last, total;
  } cases[] = {{"Bytes 0-9/10", 0, 9, 10}, {"bytes */10", -1, -1, 10}, {"bytes 5-6/*", 5, 6, -1}};
  for (const auto& [value, first, last, total] : cases) {
    const ContentRange range = ParseContentRange(value);
    EXPECT_TRUE(range.first == first && range.last == last && range.total == total) << value;
  }
  for (const char* value :
       {"", "bytes", "bytes 1-2", "bytes 2-1/10", "bytes 1-10/10", "bytes -5-6/10", "bytes 1-2/3x",
        "bytes 1-2/99999999999999999999", "items 1-2/3", "bytes */", "bytes 1-/10"}) {
    EXPECT_EQ(ParseContentRange(value).first, -1) << value;
    EXPECT_EQ(ParseContentRange(value).total, -1) << value;
  }
}

}  // namespace
