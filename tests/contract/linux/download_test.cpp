// The download engine under limits short enough for tests, and what it leaves on the disk.

#include "platform/linux/opds/download.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "platform/linux/opds/content_range.h"
#include "saltmoor/opds/resource_downloader.h"
#include "support/child.h"
#include "support/device_folder.h"
#include "support/scripted_server.h"

namespace {

namespace fs = std::filesystem;
using namespace saltmoor::platform;
using std::chrono::milliseconds;

constexpr int kSize = 10'000;
constexpr int kHalf = 5'000;

class DownloadEngine : public testing::Test {
 protected:
  /// Downloads "book" from the server; whether it is there afterwards.
  bool Fetch(const ScriptedServer& server, DownloadLimits limits = {2, 1, {}}) {
    PartFile part(folder_.path(), "book");
    Error error = part.Open(server.Address());
    EXPECT_FALSE(error) << error.message();
    Download download(
        &part, server.Address(), [](auto, auto) {}, limits);
    error = download.Run();
    content_type_ = download.content_type();
    EXPECT_EQ(!error, fs::exists(folder_ / "book")) << error.message();
    return !error;
  }
  /// Downloads what the first connection of a test before left half.
  void FetchRest(const ScriptedServer& server, DownloadLimits limits = {2, 1, {}}) {
    EXPECT_TRUE(Fetch(server, limits));
    EXPECT_TRUE(ReadAll(folder_ / "book") == book_);
  }

  Reply FirstHalf(Fields fields, Then then = Then::kClose) const {
    fields.push_back("Content-Type: book");
    const std::string whole = Answer(200, book_, fields);
    return {whole.substr(0, whole.size() - kHalf), then};
  }
  Reply SecondHalf(const Fields& fields) const { return Answer(206, book_.substr(kHalf), fields); }

  const DeviceFolder folder_;
  const std::string book_ = UniqueBytes(kSize);
  const std::string newer_ = UniqueBytes(2 * kSize).substr(kSize);
  const std::string tag_ = "ETag: \"v1\"";
  const std::string range_ = "Content-Range: bytes 5000-9999/10000";
  std::string content_type_;
};

TEST_F(DownloadEngine, AnswersToARangeAreUsedOnlyWhereTheyFit) {
  const std::string rest = book_.substr(kHalf);
  const struct {
    const char* name;
    Reply answer;
    std::size_t requests;  // after the one that leaves the half
    bool newer;            // the file as it is served from its start by then
  } cases[] = {
      {"fits in two pieces",
       Answer(206, rest.substr(0, 1000), {"Content-Range: bytes 5000-5999/10000"}), 2, false},
      {"no range told", SecondHalf({}), 2, true},
      {"garbled range", SecondHalf({"Content-Range: bytes 5000--1/10000"}), 2, true},
      {"longer than told", Answer(206, rest + "x", {range_}), 2, true},
      {"not satisfiable", Answer(416, "", {"Content-Range: bytes */10000"}), 2, true},
      {"not satisfiable, mute", Answer(416, "<html>"), 2, true},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    ScriptedServer server([&](const Request& request) -> Reply {
      const std::string range = request["range"];
      if (request.connection == 1) return FirstHalf({tag_});
      if (range.empty()) return Answer(200, newer_);
      EXPECT_EQ(request["if-range"], "\"v1\"");
      if (range == "bytes=5000-") return test.answer;
      EXPECT_EQ(range, "bytes=6000-");
      return Answer(206, rest.substr(1000), {"Content-Range: bytes 6000-9999/10000"});
    });
    EXPECT_FALSE(Fetch(server));
    EXPECT_TRUE(Fetch(server, {2, 1, {milliseconds(1)}}));
    EXPECT_TRUE(ReadAll(folder_ / "book") == (test.newer ? newer_ : book_));
    EXPECT_EQ(server.requests().size(), 1 + test.requests);
    EXPECT_EQ(folder_.Names(), std::set<std::string>{"book"});
    fs::remove(folder_ / "book");
  }
}

TEST_F(DownloadEngine, RangeBeyondTheEndMeansThatThePartIsWhole) {
  ScriptedServer server([&](const Request& request) -> Reply {
    if (request.connection != 1) {
      return Answer(416, "<html>", {"Content-Range: bytes */10000", "Content-Type: html"});
    }
    const std::string head = "HTTP/1.1 200 OK\r\nContent-Type: book\r\n" + tag_;
    return {head + "\r\nTransfer-Encoding: chunked\r\n\r\n2710\r\n" + book_, Then::kClose};
  });
  EXPECT_FALSE(Fetch(server)) << "all the bytes, and no clean end";
  FetchRest(server);
  EXPECT_EQ(content_type_, "book");
}

TEST_F(DownloadEngine, OnlyAStrongValidatorLetsADownloadGoOn) {
  const std::string modified = "Last-Modified: Mon, 01 Jan 2024 10:00:00 GMT";
  const struct {
    Fields fields;
    std::string if_range;  // empty: the whole file is asked for
  } cases[] = {
      {{tag_, modified}, "\"v1\""},
      {{"ETag: W/\"v1\"", modified}, "Mon, 01 Jan 2024 10:00:00 GMT"},
      {{modified, "Date: Mon, 01 Jan 2024 10:00:01 GMT"}, "Mon, 01 Jan 2024 10:00:00 GMT"},
      {{modified, "Date: Mon, 01 Jan 2024 10:00:00 GMT"}, ""},
      {{"ETag: W/\"v1\""}, ""},
      {{}, ""},
  };
  for (const auto& [fields, if_range] : cases) {
    ScriptedServer server([&, &sent = fields](const Request& request) {
      if (request.connection == 1) return FirstHalf(sent);
      return request["range"].empty() ? Reply(Answer(200, book_)) : SecondHalf({range_});
    });
    EXPECT_FALSE(Fetch(server));
    EXPECT_EQ(fs::exists(folder_ / "book.part"), !if_range.empty());
    FetchRest(server);
    EXPECT_EQ(server.requests().back()["if-range"], if_range);
    fs::remove(folder_ / "book");
  }
}

TEST_F(DownloadEngine, WhatCannotBeUsedFailsAndLeavesNothing) {
  const struct {
    Reply reply;
    std::size_t requests;
  } cases[] = {
      {Answer(200, book_, {"Content-Encoding: gzip"}), 1},  // which nobody asked for
      {SecondHalf({range_}), 1},
      {FirstHalf({}), 3},  // a server that always dies at the same place
  };
  for (const auto& [reply, requests] : cases) {
    ScriptedServer server(reply);
    EXPECT_FALSE(Fetch(server, {2, 1, {milliseconds(1), milliseconds(1)}}));
    EXPECT_EQ(server.requests().size(), requests);
    EXPECT_TRUE(folder_.Names().empty());
  }
}

TEST_F(DownloadEngine, TriesAreCountedAnewWhenBytesCame) {
  ScriptedServer server([&](const Request& request) -> Reply {
    const int begin = (request.connection - 1) / 2 * 500;
    if (request.connection % 2 == 0) return Answer(503, "busy");
    const std::string span = std::to_string(begin) + "-9999/10000";
    const std::string whole =
        Answer(begin == 0 ? 200 : 206, book_.substr(begin), {tag_, "Content-Range: bytes " + span});
    return {whole.substr(0, whole.size() - (kSize - begin - 500)), Then::kClose};
  });
  FetchRest(server, {2, 1, {milliseconds(1), milliseconds(1)}});
  EXPECT_EQ(server.requests().size(), 39u);
}

TEST_F(DownloadEngine, AStallEndsATry) {
  ScriptedServer server([&](const Request& request) {
    return request.connection == 1 ? FirstHalf({tag_}, Then::kHang) : SecondHalf({range_});
  });
  FetchRest(server, {2, 1, {milliseconds(1)}});
}

TEST_F(DownloadEngine, Killed_InDownload) {
  ScriptedServer server([&](const Request& request) {
    return request.connection == 1 ? FirstHalf({tag_}, Then::kHang) : SecondHalf({range_});
  });
  Child child([&] { return Fetch(server, {60, 60, {}}) ? 1 : 0; });
  // The bytes count from the moment at which they are known to be on the disk.
  const auto synced = [&] { return ReadAll(folder_ / "book.part.info").find("\n5000\n"); };
  for (int i = 0; i < 500 && synced() == std::string::npos; ++i) usleep(10'000);
  EXPECT_EQ(child.Kill(), -SIGKILL);
  FetchRest(server);
  EXPECT_EQ(server.requests().size(), 2u);
}

TEST_F(DownloadEngine, PowerCut_InDownload) {
  ScriptedServer server([&](const Request& request) {
    return request.connection == 1 ? FirstHalf({tag_}) : SecondHalf({range_});
  });
  EXPECT_FALSE(Fetch(server));
  // What was written after the last sync may come back as zeros.
  std::ofstream(folder_ / "book.part", std::ios::app) << std::string(100, '\0');
  const std::string info = ReadAll(folder_ / "book.part.info");
  const std::string part_bytes = ReadAll(folder_ / "book.part");
  for (std::size_t size = 0; size < info.size(); ++size) {
    WriteAll(folder_ / "book.part.info", info.substr(0, size));
    WriteAll(folder_ / "book.part", part_bytes);
    PartFile part(folder_.path(), "book");
    ASSERT_FALSE(part.Open(server.Address()));
    ASSERT_EQ(part.size_bytes(), 0) << "a torn record";
  }
  WriteAll(folder_ / "book.part.info", info);
  WriteAll(folder_ / "book.part", part_bytes);
  FetchRest(server);
}

TEST_F(DownloadEngine, OnePartHasOneWriter) {
  PartFile first(folder_.path(), "book");
  PartFile second(folder_.path(), "book");
  ASSERT_FALSE(first.Open("http://a.example/"));
  const Error error = second.Open("http://a.example/");
  EXPECT_NE(error.message().find("another download"), std::string::npos);
}

TEST_F(DownloadEngine, SizesAbove2GiBAreCountedInLargerUnits) {
  constexpr std::int64_t kPart = 3LL << 30;
  ScriptedServer server(
      Answer(206, "0123456789", {"Content-Range: bytes 3221225472-3221225481/3221225482"}));
  WriteAll(folder_ / "big.part", "");
  fs::resize_file(folder_ / "big.part", kPart);
  WriteAll(folder_ / "big.part.info",
           server.Address() + "\n\"v1\"\nbook\n3221225482\n3221225472\n");
  saltmoor::opds::ResourceDownloader downloader(folder_.path(), nullptr);
  int total = 0;
  int done = 0;
  const auto ask = [&](int) { downloader.GetProgress(nullptr, nullptr, &total, &done); };
  EXPECT_EQ(downloader.DownloadResource(server.Address(), "big", ask), 0);
  EXPECT_EQ(total, (kPart + 10) / 2);
  EXPECT_EQ(done, total);
  EXPECT_EQ(downloader.GetStatusInfo().size, kPart + 10);
}

TEST(ContentRange, OnlyWholeFieldsAreRead) {
  ContentRange range;
  EXPECT_TRUE(ParseContentRange("Bytes 0-9/10", &range));
  EXPECT_EQ(range.last, 9);
  EXPECT_TRUE(ParseContentRange("bytes */10", &range));
  EXPECT_EQ(range.first, -1);
  EXPECT_TRUE(ParseContentRange("bytes 5-6/*", &range));
  EXPECT_EQ(range.total, -1);
  for (const char* field :
       {"", "bytes", "bytes 1-2", "bytes 2-1/10", "bytes 1-10/10", "bytes -5-6/10", "bytes 1-2/3x",
        "bytes 1-2/99999999999999999999", "items 1-2/3", "bytes */", "bytes 1-/10"}) {
    EXPECT_FALSE(ParseContentRange(field, &range)) << field;
    EXPECT_EQ(range.total, -1);
  }
  EXPECT_FALSE(ParseContentRange(nullptr, &range));
}

}  // namespace
