#include "saltmoor/opds/resource_downloader.h"

#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <thread>

#include "support/scripted_server.h"
#include "support/suite.h"

namespace {

class ResourceDownloader : public testing::Test {
 protected:
  /// \return the result of DownloadResource.
  int Fetch(const std::string& url, const std::string& name = "b.epub") {
    return downloader_.DownloadResource(url, name, {});
  }
  /// The number of files, including part files.
  long CountFiles() const {
    return fs::exists(directory_) ? std::distance(fs::directory_iterator(directory_), {}) : 0;
  }
  std::string Content(const std::string& name = "b.epub") const {
    return ReadAll(directory_ + "/" + name);
  }
  bool IsInError(const std::string& text) const {
    return downloader_.GetStatusInfo().error.find(text) != std::string::npos;
  }

  /// The book without its last bytes.
  Response Truncated(const HeaderLines& headers, std::size_t missing = 100'000) const {
    const std::string whole = MakeResponse(200, book_, headers);
    return {whole.substr(0, whole.size() - missing), AfterResponse::kClose};
  }

  const TemporaryDirectory parent_;
  const std::string directory_ = parent_ / "new/Downloads";
  const std::string book_ = UniqueBytes(300'000);
  saltmoor::opds::ResourceDownloader downloader_{directory_, nullptr};
};

TEST_F(ResourceDownloader, SavesFileAndReportsStatus) {
  ScriptedServer server([&](const Request& request) {
    if (request.target == "/moved") return MakeResponse(302, "", {"Location: /book?key=1"});
    return MakeResponse(200, book_, {"Content-Type: application/epub+zip; v=3"});
  });
  std::vector<int> percentages;
  const std::string url = server.Url("/moved");
  const auto record = [&](int percentage) { percentages.push_back(percentage); };
  EXPECT_EQ(downloader_.DownloadResource(url, "Tüte.epub", record), 0);
  EXPECT_EQ(downloader_.GetSavedPath(), directory_ + "/Tüte.epub");
  EXPECT_EQ(Content("Tüte.epub"), book_);
  EXPECT_EQ(CountFiles(), 1);
  EXPECT_TRUE(std::is_sorted(percentages.begin(), percentages.end()));
  EXPECT_EQ(percentages.empty() ? -1 : percentages.back(), 100);

  const auto info = downloader_.GetStatusInfo();
  EXPECT_EQ(info.code, 0);
  EXPECT_EQ(info.size, 300'000);
  EXPECT_EQ(info.http_status, 200);
  EXPECT_EQ(info.url, url);
  EXPECT_EQ(info.content_type, "application/epub+zip; v=3");
  EXPECT_EQ(info.error, "");
}

TEST_F(ResourceDownloader, SavesFileOfUnknownLength) {
  const std::string head = "HTTP/1.1 200 OK\r\n";
  const std::string chunked = "Transfer-Encoding: chunked\r\n\r\n493e0\r\n";
  for (const Response& response : {Response(head + "\r\n" + book_, AfterResponse::kClose),
                                   Response(head + chunked + book_ + "\r\n0\r\n\r\n")}) {
    EXPECT_EQ(Fetch(ScriptedServer(response).Url()), 0);
    EXPECT_EQ(Content(), book_);
  }
}

TEST_F(ResourceDownloader, ResumesWhereConnectionDied) {
  ScriptedServer server([&](const Request& request) -> Response {
    if (request.connection == 1) return Truncated({"ETag: \"v1\"", "Content-Type: text/plain"});
    const int begin = request["range"] == "bytes=250000-" ? 250'000 : 200'000;
    const std::string range = std::to_string(begin) + "-" + std::to_string(begin + 49'999);
    return MakeResponse(206, book_.substr(begin, 50'000),
                        {"Content-Range: bytes " + range + "/300000", "Content-Type: wrong"});
  });
  EXPECT_EQ(Fetch(server.Url()), 0);
  EXPECT_EQ(Content(), book_);
  EXPECT_EQ(downloader_.GetStatusInfo().content_type, "text/plain");
  ASSERT_EQ(server.requests().size(), 3u);
  EXPECT_EQ(server.requests()[0]["range"], "");
  EXPECT_EQ(server.requests()[0]["accept-encoding"], "");
  EXPECT_EQ(server.requests()[1]["range"], "bytes=200000-");
  EXPECT_EQ(server.requests()[1]["if-range"], "\"v1\"");
}

TEST_F(ResourceDownloader, NeverMixesFileVersions) {
  const std::string newer = UniqueBytes(600'000).substr(300'000);
  const std::string rest = newer.substr(200'000);
  const std::string range = "Content-Range: bytes 200000-299999/300000";
  const std::pair<const char*, std::string> cases[] = {
      {"another version, whole", MakeResponse(200, newer, {"ETag: \"v2\""})},
      {"another version, its end", MakeResponse(206, rest, {"ETag: \"v2\"", range})},
      {"another start", MakeResponse(206, rest, {"Content-Range: bytes 199999-299998/300000"})},
      {"another length", MakeResponse(206, rest, {"Content-Range: bytes 200000-299999/300001"})},
      {"no range", MakeResponse(206, rest)},
      {"garbled range", MakeResponse(206, rest, {"Content-Range: bytes 200000--1/300000"})},
      {"longer than its range", MakeResponse(206, rest + "x", {range})},
      {"no such range", MakeResponse(416, "", {"Content-Range: bytes */300000"})},
      {"no such range, another length", MakeResponse(416, "", {"Content-Range: bytes */200000"})},
      {"no such range, no length", MakeResponse(416, "<html>")},
  };
  for (const auto& [name, response] : cases) {
    ScriptedServer server([&, &rest_or_all = response](const Request& request) {
      if (request.connection == 1) return Truncated({"ETag: \"v1\""});
      return Response(request["range"].empty() ? MakeResponse(200, newer) : rest_or_all);
    });
    EXPECT_EQ(Fetch(server.Url()), 0) << name;
    EXPECT_TRUE(Content() == newer) << name;
    EXPECT_EQ(CountFiles(), 1) << name;
    EXPECT_GT(server.requests().size(), 1u) << name;
    fs::remove_all(directory_);
  }
}

TEST_F(ResourceDownloader, SavesNothingForOtherStatuses) {
  ScriptedServer server([&](const Request& request) {
    const int status = std::stoi(request.target.substr(1));
    if (status == 204) return std::string("HTTP/1.1 204 None\r\n\r\n");
    return MakeResponse(status, "<html>", {"Content-Type: text/html"});
  });
  WriteAll((fs::create_directories(directory_), directory_ + "/b.epub"), "an older copy");
  for (const int status : {204, 206, 304, 403, 404, 416, 500}) {
    const std::size_t before = server.requests().size();
    EXPECT_GT(Fetch(server.Url("/" + std::to_string(status))), 0);
    EXPECT_EQ(server.requests().size() - before > 1, status == 500)
        << "only a transient failure is retried";
    EXPECT_EQ(downloader_.GetStatusInfo().http_status, status);
    EXPECT_TRUE(IsInError(std::to_string(status)));
  }
  EXPECT_EQ(CountFiles(), 1);
  EXPECT_EQ(Content(), "an older copy");
  EXPECT_EQ(downloader_.GetSavedPath(), "");
}

TEST_F(ResourceDownloader, NeverSavesWebPage) {
  ScriptedServer server([&](const Request& request) -> Response {
    if (request.connection == 1) return Truncated({"ETag: \"v1\""});
    if (request.connection < 5) {  // a network's log-in page
      return {MakeResponse(200, "<html>", {"Content-Type: Text/HTML; charset=utf-8"}),
              AfterResponse::kClose};
    }
    return MakeResponse(206, book_.substr(200'000), {"Content-Range: bytes 200000-299999/300000"});
  });
  EXPECT_GT(Fetch(server.Url()), 0);
  EXPECT_GT(Fetch(server.Url(), "other.epub"), 0);
  EXPECT_TRUE(IsInError("web page"));
  EXPECT_FALSE(fs::exists(directory_ + "/b.epub"));
  EXPECT_EQ(CountFiles(), 2) << "the part of the book with its record";
  EXPECT_GT(Fetch(server.Url()), 0);
  EXPECT_EQ(server.requests().size(), 4u) << "it is not requested again";
  EXPECT_EQ(Fetch(server.Url()), 0);
  EXPECT_EQ(Content(), book_);
}

TEST_F(ResourceDownloader, TakesExtensionOfUrlWithoutType) {
  const struct {
    const char *name, *target, *type, *saved_as;
  } cases[] = {
      {"none", "/files/1.EPUB?key=a.pdf", "", "none.epub"},
      {"unspecific", "/files/1.pdf", "Content-Type: application/octet-stream", "unspecific.pdf"},
      {"redirected", "/moved", "", "redirected.acsm"},
      {"typed", "/files/1.epub", "Content-Type: application/pdf", "typed"},
      {"J. Smith", "/files/1.epub", "", "J. Smith"},
      {"unknown", "/files/1.php", "", "unknown"},
      {"short", "/", "", "short"},
  };
  for (const auto& [name, target, type, saved_as] : cases) {
    ScriptedServer server([&, sent = std::string(type)](const Request& request) {
      if (request.target == "/moved") return MakeResponse(302, "", {"Location: /there.acsm"});
      return MakeResponse(200, book_, sent.empty() ? HeaderLines{} : HeaderLines{sent});
    });
    EXPECT_EQ(Fetch(server.Url(target), name), 0) << name;
    EXPECT_EQ(downloader_.GetSavedPath(), directory_ + "/" + saved_as);
    EXPECT_EQ(Content(saved_as), book_) << name;
  }
}

TEST_F(ResourceDownloader, NeverMixesFilesWithSameName) {
  ScriptedServer server([&](const Request& request) -> Response {
    if (request.target == "/other") return MakeResponse(200, "other", {"ETag: \"v1\""});
    if (!request["range"].empty()) return MakeResponse(404, "");
    return Truncated({"ETag: \"v1\""}, 1);
  });
  EXPECT_GT(Fetch(server.Url("/first")), 0);
  EXPECT_TRUE(fs::exists(directory_ + "/b.epub.part"));
  ASSERT_EQ(Fetch(server.Url("/other")), 0);
  EXPECT_EQ(server.requests().back()["range"], "");
  EXPECT_EQ(Content(), "other");
  EXPECT_EQ(CountFiles(), 1);
}

TEST_F(ResourceDownloader, DoesNotRetryPermanentTlsFailures) {
  ScriptedServer plain(MakeResponse(200, book_));
  const std::string redirect = MakeResponse(302, "", {"Location: " + plain.Url()});
  const Certificate good = TrustedCertificate();
  const Certificate bad = MakeCertificate(MakeAuthority("Unknown"), "IP:127.0.0.1");
  for (const Certificate* certificate : {&good, &bad}) {
    ScriptedServer server(redirect, certificate);
    EXPECT_GT(Fetch(server.Url()), 0);
    EXPECT_EQ(server.connections(), 1);
  }
  EXPECT_TRUE(plain.requests().empty());
  EXPECT_EQ(CountFiles(), 0);
}

TEST_F(ResourceDownloader, LeavesNoPartFileWhenDiskIsFull) {
  ScriptedServer server([&](const Request& request) {
    if (request.target != "/announced") return Response(MakeResponse(200, book_, {"ETag: \"1\""}));
    return Response("HTTP/1.1 200 OK\r\nETag: \"1\"\r\nContent-Length: 4000000000000000\r\n\r\nx",
                    AfterResponse::kHang);
  });
  EXPECT_GT(Fetch(server.Url("/announced")), 0);
  EXPECT_NE(downloader_.GetStatusInfo().error, "");
  EXPECT_EQ(CountFiles(), 0);

  std::signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit limited{100'000, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &limited);
  EXPECT_GT(Fetch(server.Url("/written")), 0);
  setrlimit(RLIMIT_FSIZE, &before);
  EXPECT_EQ(server.requests().size(), 2u);
  EXPECT_EQ(CountFiles(), 0);
}

TEST_F(ResourceDownloader, NamesUnwritablePath) {
  ScriptedServer server(MakeResponse(200, book_));
  fs::create_directories(directory_ + "/b.epub/taken");
  EXPECT_GT(Fetch(server.Url()), 0);
  EXPECT_TRUE(IsInError("b.epub"));
  EXPECT_GT(Fetch("no url"), 0);

  WriteAll(parent_ / "file", "");
  downloader_ = saltmoor::opds::ResourceDownloader(parent_ / "file", nullptr);
  EXPECT_GT(Fetch(server.Url()), 0);
  EXPECT_TRUE(IsInError(parent_ / "file"));
}

TEST_F(ResourceDownloader, TruncatesLongNamesAndRejectsPaths) {
  ScriptedServer server(MakeResponse(200, book_));
  using namespace std::string_literals;
  for (const std::string& name : {""s, "."s, ".."s, "a/b"s, "../../x"s, "/etc/x"s, "a\0b"s}) {
    EXPECT_GT(Fetch(server.Url(), name), 0) << name;
  }
  EXPECT_TRUE(server.requests().empty());

  const std::string long_name = std::string(246, 'n') + ".pdf";
  ASSERT_EQ(Fetch(server.Url(), long_name), 0);
  EXPECT_EQ(Content(long_name), book_) << "this name fits";

  std::string umlauts = "x";
  for (int i = 0; i < 200; ++i) umlauts += "ü";
  for (const std::string& name : {"Wait ... what.epub"s, umlauts + ".epub", umlauts + umlauts}) {
    ASSERT_EQ(Fetch(server.Url(), name), 0) << name;
    const fs::path saved = downloader_.GetSavedPath();
    EXPECT_EQ(ReadAll(saved), book_);
    EXPECT_EQ(saved.extension(), fs::path(name).extension());
    const std::string stem = saved.stem();
    EXPECT_EQ(name.substr(0, stem.size()), stem);
    const bool cut_in_character = stem.size() % 2 == 0 && name[0] == 'x';
    EXPECT_FALSE(cut_in_character);
  }
}

TEST_F(ResourceDownloader, DoesNotFollowPlantedLinks) {
  ScriptedServer server(MakeResponse(200, book_));
  fs::create_directories(directory_);
  for (const char* name : {"linked", "hard"}) WriteAll(parent_ / name, "precious");
  fs::create_symlink(parent_ / "linked", directory_ + "/a.epub.part");
  fs::create_hard_link(parent_ / "hard", directory_ + "/b.epub.part");
  fs::create_symlink(parent_ / "missing", directory_ + "/c.epub.part");
  for (const char* name : {"a.epub", "b.epub", "c.epub"}) {
    EXPECT_EQ(Fetch(server.Url(), name), 0);
    EXPECT_EQ(Content(name), book_);
  }
  EXPECT_EQ(ReadAll(parent_ / "linked") + ReadAll(parent_ / "hard"), "preciousprecious");
  EXPECT_FALSE(fs::exists(parent_ / "missing"));
}

TEST_F(ResourceDownloader, ReportsProgressToOtherThreads) {
  ScriptedServer server(MakeResponse(200, book_));
  std::atomic<bool> finished{false};
  std::thread watcher([&] {
    while (!finished) {
      bool active = false;
      std::string name;
      int total = -1;
      int done = -1;
      downloader_.GetProgress(&active, &name, &total, &done);
      EXPECT_LE(done, 300'000);
      EXPECT_TRUE(total == 0 || total == 300'000);
      EXPECT_EQ(active ? name : "b.epub", "b.epub");
      downloader_.GetStatusInfo();
      downloader_.GetSavedPath();
    }
  });
  int done_in_callback = 0;
  const auto read_progress = [&](int) {
    downloader_.GetProgress(nullptr, nullptr, nullptr, &done_in_callback);
  };
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(downloader_.DownloadResource(server.Url(), "b.epub", read_progress), 0);
  }
  finished = true;
  watcher.join();
  EXPECT_EQ(done_in_callback, 300'000);
  bool active = true;
  downloader_.GetProgress(&active, nullptr, nullptr, nullptr);
  EXPECT_FALSE(active);
}

}  // namespace
