#include "page_cache.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "catalogue_error.h"
#include "support/files.h"

namespace app {
namespace {

namespace fs = std::filesystem;
using saltmoor::utilities::HttpRequest;

/// A server of one response, and caches that ask it.
class CachedPages : public testing::Test {
 protected:
  PageCache Open(PageCache::Limits limits = {}) {
    const auto send = [this](const HttpRequest& request, PageCache::Response* response) {
      sent_ = request.GetHeaders();
      *response = response_;
      return error_;
    };
    return {cache_, send, limits};
  }

  /// Answers from now on with a body and validators.
  void Answer(const std::string& body, const std::string& etag, const std::string& date = "") {
    response_ = {200, {body.begin(), body.end()}, "https://shop.example/there", {}};
    if (!etag.empty()) response_.headers["etag"] = etag;
    if (!date.empty()) response_.headers["last-modified"] = date;
  }

  void AnswerNotModified() { response_ = {304, {}, kUrl, {}}; }

  std::size_t CountFiles() const {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(cache_), fs::directory_iterator()));
  }

  const std::string kUrl = "https://shop.example/opds";
  const tests::TemporaryDirectory directory_;
  const std::string cache_ = directory_ / "system/cache/quire";
  PageCache::Response response_;
  int error_ = 0;
  HttpRequest::Parameters sent_;
};

TEST_F(CachedPages, AsksForChangesAfterARestart) {
  Answer("one\n", "\"1\"", "Mon, 1 Mar 2021 10:00:00 GMT");
  EXPECT_EQ(Open().Fetch(kUrl).content, "one\n");
  EXPECT_TRUE(sent_.empty());
  AnswerNotModified();
  const FetchedPage kept = Open().Fetch(kUrl);
  EXPECT_EQ(kept.content, "one\n");
  EXPECT_EQ(kept.url, "https://shop.example/there") << "relative links are relative to it";
  EXPECT_EQ(sent_,
            (HttpRequest::Parameters{{"If-None-Match", "\"1\""},
                                     {"If-Modified-Since", "Mon, 1 Mar 2021 10:00:00 GMT"}}));
  Answer("two", "\"2\"");
  EXPECT_EQ(Open().Fetch(kUrl).content, "two");
  AnswerNotModified();
  EXPECT_EQ(Open().Fetch(kUrl).content, "two");
  for (const auto& [path, mode] :
       {std::pair(cache_, 0700U), {fs::directory_iterator(cache_)->path().string(), 0600U}}) {
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, mode) << path;
  }
}

TEST_F(CachedPages, KeepsNoPageWithoutPermission) {
  Answer("a", "");
  Open().Fetch(kUrl);
  Answer("b", "\"1\"");
  response_.headers["cache-control"] = "private, no-store";
  Open().Fetch(kUrl);
  Answer("c", "\"1\"");
  response_.status = 404;
  EXPECT_THROW(Open().Fetch(kUrl), CatalogueError);
  AnswerNotModified();
  EXPECT_THROW(Open().Fetch(kUrl), CatalogueError) << "nothing was asked to be unchanged";
  EXPECT_FALSE(fs::exists(cache_));
  error_ = 28;
  EXPECT_THROW(Open().Fetch(kUrl), CatalogueError);
}

TEST_F(CachedPages, IgnoresDamagedFiles) {
  Answer("whole", "\"1\"");
  Open().Fetch(kUrl);
  const std::string path = fs::directory_iterator(cache_)->path();
  const std::string content = tests::ReadFile(path);
  std::string of_another = content;
  of_another.replace(of_another.find("opds"), 4, "else");
  for (const std::string& damaged :
       {content.substr(0, content.size() - 1), content + "x", std::string(), of_another}) {
    tests::WriteFile(path, damaged);
    Answer("again", "");
    EXPECT_EQ(Open().Fetch(kUrl).content, "again");
    EXPECT_TRUE(sent_.empty()) << damaged;
  }
  fs::remove_all(cache_);
  tests::WriteFile(cache_, "no directory");
  Answer("still", "\"1\"");
  EXPECT_EQ(Open().Fetch(kUrl).content, "still");
}

TEST_F(CachedPages, RemovesThePagesUsedLongestAgo) {
  PageCache cache = Open({1000, 3});
  for (int i = 0; i < 6; ++i) {
    Answer(std::to_string(i), "\"1\"");
    cache.Fetch(kUrl + std::to_string(i));
    EXPECT_LE(CountFiles(), 3U);
  }
  AnswerNotModified();
  EXPECT_EQ(Open().Fetch(kUrl + "5").content, "5");
  Answer(std::string(880, 'x'), "\"1\"");
  Open({1000, 3}).Fetch(kUrl);
  EXPECT_EQ(CountFiles(), 1U) << "of all processes";
  Answer(std::string(2000, 'x'), "\"1\"");
  Open({1000, 3}).Fetch(kUrl + "large");
  EXPECT_EQ(CountFiles(), 1U);
}

}  // namespace
}  // namespace app
