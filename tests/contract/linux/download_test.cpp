// The download engine under limits short enough for tests, and what it leaves on the disk.

#include "platform/linux/opds/download.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "platform/linux/opds/content_range.h"
#include "saltmoor/opds/resource_downloader.h"
#include "tests/contract/support/scripted_server.h"
#include "tests/contract/support/workshop.h"

namespace {

namespace fs = std::filesystem;
using namespace saltmoor::platform;
using std::chrono::milliseconds;
using testing_support::Answer;
using testing_support::ReadFile;
using testing_support::Reply;
using testing_support::Request;
using testing_support::ScriptedServer;
using testing_support::UniqueBytes;
using testing_support::Workshop;
using testing_support::WriteFile;
using Then = Reply::Then;
using Fields = std::vector<std::string>;

constexpr int kSize = 10'000;
constexpr int kHalf = 5'000;

class DownloadEngine : public testing::Test {
 protected:
  void SetUp() override { fs::create_directory(folder_); }
  void TearDown() override { fs::remove_all(folder_); }

  /// Downloads "book" from the server; whether it is there afterwards.
  bool Fetch(const ScriptedServer& server, DownloadLimits limits = {2, 1, {}}) {
    PartFile part(folder_, "book");
    Error error = part.Open(server.Address("/"));
    EXPECT_FALSE(error) << error.text();
    Download download(
        &part, server.Address("/"), [](auto, auto) {}, limits);
    error = download.Run();
    content_type_ = download.content_type();
    EXPECT_EQ(!error, fs::exists(folder_ + "/book")) << error.text();
    return !error;
  }

  Reply FirstHalf(Fields fields) const {
    fields.push_back("Content-Type: book");
    const std::string whole = Answer(200, book_, fields);
    return {whole.substr(0, whole.size() - kHalf), Then::kClose};
  }
  Reply SecondHalf(Fields fields) const { return {Answer(206, book_.substr(kHalf), fields), {}}; }

  const std::string folder_ = Workshop::Instance().folder() + "/engine";
  const std::string book_ = UniqueBytes(kSize);
  const std::string newer_ = UniqueBytes(2 * kSize).substr(kSize);
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
      {"fits", SecondHalf({range_, "ETag: \"v1\""}), 1, false},
      {"fits in two pieces",
       {Answer(206, rest.substr(0, 1000), {"Content-Range: bytes 5000-5999/10000"}), {}},
       2,
       false},
      {"range ignored", {Answer(200, newer_, {"ETag: \"v2\""}), {}}, 1, true},
      {"other version", SecondHalf({range_, "ETag: \"v2\""}), 2, true},
      {"wrong start", SecondHalf({"Content-Range: bytes 4999-9998/10000"}), 2, true},
      {"wrong total", SecondHalf({"Content-Range: bytes 5000-9999/10001"}), 2, true},
      {"no range told", SecondHalf({}), 2, true},
      {"garbled range", SecondHalf({"Content-Range: bytes 5000--1/10000"}), 2, true},
      {"longer than told", {Answer(206, rest + "x", {range_}), {}}, 2, true},
      {"not satisfiable", {Answer(416, "<html>", {"Content-Range: bytes */4000"}), {}}, 2, true},
      {"not satisfiable, wrongly",
       {Answer(416, "", {"Content-Range: bytes */10000"}), {}},
       2,
       true},
      {"not satisfiable, mute", {Answer(416, "<html>"), {}}, 2, true},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    ScriptedServer server([&](const Request& request) {
      const auto range = request.fields.find("range");
      if (request.connection == 1) return FirstHalf({"ETag: \"v1\""});
      if (range == request.fields.end()) return Reply{Answer(200, newer_), {}};
      EXPECT_EQ(request.fields.at("if-range"), "\"v1\"");
      if (range->second == "bytes=5000-") return test.answer;
      EXPECT_EQ(range->second, "bytes=6000-");
      return Reply{Answer(206, rest.substr(1000), {"Content-Range: bytes 6000-9999/10000"}), {}};
    });
    EXPECT_FALSE(Fetch(server));
    EXPECT_TRUE(Fetch(server, {2, 1, {milliseconds(1)}}));
    EXPECT_TRUE(ReadFile(folder_ + "/book") == (test.newer ? newer_ : book_));
    EXPECT_EQ(server.requests().size(), 1 + test.requests);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_), {}), 1);
    fs::remove(folder_ + "/book");
  }
}

TEST_F(DownloadEngine, RangeBeyondTheEndMeansThatThePartIsWhole) {
  ScriptedServer server([&](const Request& request) {
    if (request.connection == 1) {  // all the bytes, and no clean end
      return Reply{
          "HTTP/1.1 200 OK\r\nETag: \"v1\"\r\nContent-Type: book\r\n"
          "Transfer-Encoding: chunked\r\n\r\n2710\r\n" +
              book_,
          Then::kClose};
    }
    return Reply{Answer(416, "<html>", {"Content-Range: bytes */10000", "Content-Type: html"}), {}};
  });
  EXPECT_FALSE(Fetch(server));
  EXPECT_TRUE(Fetch(server));
  EXPECT_TRUE(ReadFile(folder_ + "/book") == book_);
  EXPECT_EQ(content_type_, "book");
}

TEST_F(DownloadEngine, OnlyAStrongValidatorLetsADownloadGoOn) {
  const std::string modified = "Last-Modified: Mon, 01 Jan 2024 10:00:00 GMT";
  const struct {
    Fields fields;
    const char* if_range;  // null: the whole file is asked for
  } cases[] = {
      {{"ETag: \"v1\"", modified}, "\"v1\""},
      {{"ETag: W/\"v1\"", modified}, "Mon, 01 Jan 2024 10:00:00 GMT"},
      {{modified, "Date: Mon, 01 Jan 2024 10:00:01 GMT"}, "Mon, 01 Jan 2024 10:00:00 GMT"},
      {{modified, "Date: Mon, 01 Jan 2024 10:00:00 GMT"}, nullptr},
      {{"ETag: W/\"v1\""}, nullptr},
      {{}, nullptr},
  };
  for (const auto& [fields, if_range] : cases) {
    ScriptedServer server([&, &sent = fields](const Request& request) {
      if (request.connection == 1) return FirstHalf(sent);
      return request.fields.count("range") ? SecondHalf({range_}) : Reply{Answer(200, book_), {}};
    });
    EXPECT_FALSE(Fetch(server));
    EXPECT_EQ(fs::exists(folder_ + "/book.part"), if_range != nullptr);
    EXPECT_TRUE(Fetch(server));
    EXPECT_TRUE(ReadFile(folder_ + "/book") == book_);
    const auto asked = server.requests().back().fields;
    EXPECT_EQ(asked.count("if-range") ? asked.at("if-range") : std::string(),
              if_range ? if_range : "");
    fs::remove(folder_ + "/book");
  }
}

TEST_F(DownloadEngine, PackedAnswersAndRangesThatNobodyAskedForFail) {
  ScriptedServer server([&](const Request& request) {
    return request.connection == 1 ? Reply{Answer(200, book_, {"Content-Encoding: gzip"}), {}}
                                   : SecondHalf({range_});
  });
  EXPECT_FALSE(Fetch(server));
  EXPECT_FALSE(Fetch(server));
  EXPECT_TRUE(fs::is_empty(folder_));
}

TEST_F(DownloadEngine, TriesAreCountedAnewWhenBytesCame) {
  ScriptedServer server([&](const Request& request) {
    const int begin = (request.connection - 1) / 2 * 500;
    if (request.connection % 2 == 0) return Reply{Answer(503, "busy"), {}};
    const std::string span = std::to_string(begin) + "-9999/10000";
    const std::string whole = Answer(begin == 0 ? 200 : 206, book_.substr(begin),
                                     {"ETag: \"v1\"", "Content-Range: bytes " + span});
    return Reply{whole.substr(0, whole.size() - (kSize - begin - 500)), Then::kClose};
  });
  EXPECT_TRUE(Fetch(server, {2, 1, {milliseconds(1), milliseconds(1)}}));
  EXPECT_TRUE(ReadFile(folder_ + "/book") == book_);
  EXPECT_EQ(server.requests().size(), 39u);
}

TEST_F(DownloadEngine, AServerThatAlwaysDiesAtTheSamePlaceIsGivenUp) {
  ScriptedServer server([&](const Request&) { return FirstHalf({}); });
  EXPECT_FALSE(Fetch(server, {2, 1, {milliseconds(1), milliseconds(1)}}));
  EXPECT_EQ(server.requests().size(), 3u);
  EXPECT_TRUE(fs::is_empty(folder_));
}

TEST_F(DownloadEngine, AStallEndsATry) {
  ScriptedServer server([&](const Request& request) {
    if (request.connection == 1) return Reply{FirstHalf({"ETag: \"v1\""}).bytes, Then::kHang};
    return SecondHalf({range_});
  });
  EXPECT_TRUE(Fetch(server, {2, 1, {milliseconds(1)}}));
  EXPECT_TRUE(ReadFile(folder_ + "/book") == book_);
}

TEST_F(DownloadEngine, Killed_InDownload) {
  ScriptedServer server([&](const Request& request) {
    if (request.connection == 1) return Reply{FirstHalf({"ETag: \"v1\""}).bytes, Then::kHang};
    return SecondHalf({range_});
  });
  const pid_t child = fork();
  if (child == 0) {
    Fetch(server, {60, 60, {}});
    _exit(0);
  }
  // The bytes count from the moment at which they are known to be on the disk.
  for (int i = 0;
       i < 500 && ReadFile(folder_ + "/book.part.info").find("\n5000\n") == std::string::npos;
       ++i) {
    usleep(10'000);
  }
  kill(child, SIGKILL);
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_TRUE(Fetch(server));
  EXPECT_TRUE(ReadFile(folder_ + "/book") == book_);
  EXPECT_EQ(server.requests().size(), 2u);
}

TEST_F(DownloadEngine, PowerCut_InDownload) {
  ScriptedServer server([&](const Request& request) {
    return request.connection == 1 ? FirstHalf({"ETag: \"v1\""}) : SecondHalf({range_});
  });
  EXPECT_FALSE(Fetch(server));
  // What was written after the last sync may come back as zeros.
  std::ofstream(folder_ + "/book.part", std::ios::app) << std::string(100, '\0');
  const std::string info = ReadFile(folder_ + "/book.part.info");
  const std::string part_bytes = ReadFile(folder_ + "/book.part");
  for (std::size_t size = 0; size < info.size(); ++size) {
    WriteFile(folder_ + "/book.part.info", info.substr(0, size));
    WriteFile(folder_ + "/book.part", part_bytes);
    PartFile part(folder_, "book");
    ASSERT_FALSE(part.Open(server.Address("/")));
    ASSERT_EQ(part.size_bytes(), 0) << "a torn record";
  }
  WriteFile(folder_ + "/book.part.info", info);
  WriteFile(folder_ + "/book.part", part_bytes);
  EXPECT_TRUE(Fetch(server));
  EXPECT_TRUE(ReadFile(folder_ + "/book") == book_);
}

TEST_F(DownloadEngine, OnePartHasOneWriter) {
  PartFile first(folder_, "book");
  PartFile second(folder_, "book");
  ASSERT_FALSE(first.Open("http://a.example/"));
  const Error error = second.Open("http://a.example/");
  EXPECT_NE(error.text().find("another download"), std::string::npos);
}

TEST_F(DownloadEngine, SizesAbove2GiBAreCountedInLargerUnits) {
  constexpr std::int64_t kPart = 3LL << 30;
  ScriptedServer server([](const Request&) {
    return Reply{
        Answer(206, "0123456789", {"Content-Range: bytes 3221225472-3221225481/3221225482"}), {}};
  });
  WriteFile(folder_ + "/big.part", "");
  fs::resize_file(folder_ + "/big.part", kPart);
  WriteFile(folder_ + "/big.part.info",
            server.Address("/") + "\n\"v1\"\nbook\n3221225482\n3221225472\n");
  saltmoor::opds::ResourceDownloader downloader(folder_, nullptr);
  int total = 0;
  int done = 0;
  const auto ask = [&](int) { downloader.GetProgress(nullptr, nullptr, &total, &done); };
  EXPECT_EQ(downloader.DownloadResource(server.Address("/"), "big", ask), 0);
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
