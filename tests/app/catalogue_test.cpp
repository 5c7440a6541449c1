#include "catalogue.h"

#include <gtest/gtest.h>

#include <map>

#include "text.h"

namespace app {
namespace {

const std::string kStart = "https://shop.example/opds/start";

std::string Title(const std::string& ean) {
  return "<entry><id>urn:ean:" + ean + "</id><title>Title " + ean +
         "</title><link rel='http://opds-spec.org/acquisition' type='application/pdf' "
         "href='x'/></entry>";
}

std::string Section(const std::string& href) {
  return "<entry><link rel='subsection' type='application/atom+xml' href='" + href + "'/></entry>";
}

std::string Next(const std::string& href) {
  return "<link rel='next' href='" + href + "'/>";
}

/// A catalogue whose pages the test sets.
class CataloguePages : public testing::Test {
 protected:
  void SetUp() override { SetUtf8Locale(); }

  void SetPage(const std::string& path, const std::string& content) {
    pages_["https://shop.example/opds/" + path] =
        "<feed xmlns='http://www.w3.org/2005/Atom'>" + content + "</feed>";
  }

  Catalogue Make() {
    return Catalogue(kStart, [this](const std::string& url) {
      fetched_.push_back(url);
      if (!pages_.contains(url)) throw CatalogueError("away", true);
      return pages_[url];
    });
  }

  /// The EANs in the order visited.
  std::vector<std::string> Read() {
    std::vector<std::string> eans;
    error_.reset();
    try {
      Make().Read([&](const CatalogueEntry& entry) {
        eans.push_back(entry.ean);
        return true;
      });
    } catch (const CatalogueError& error) {
      error_ = error;
    }
    return eans;
  }

  using Eans = std::vector<std::string>;
  std::map<std::string, std::string> pages_;
  std::vector<std::string> fetched_;
  std::optional<CatalogueError> error_;
};

TEST_F(CataloguePages, FollowsPagesThenSectionsOnce) {
  SetPage("start", Section("new") + Title("11111111") + Next("start?page=2"));
  SetPage("start?page=2", Title("22222222") + Next("start"));
  SetPage("new", Title("33333333") + Title("11111111") + Section("start"));
  EXPECT_EQ(Read(), (Eans{"11111111", "22222222", "33333333"}));
  EXPECT_EQ(fetched_.size(), 3U);
  EXPECT_FALSE(error_);
}

TEST_F(CataloguePages, ReadsOnlyTheShopsOrigin) {
  SetPage("start", Section("https://elsewhere.example/opds") + Title("11111111") +
                       Next("http://shop.example/opds/start?page=2"));
  EXPECT_EQ(Read(), Eans{"11111111"});
  EXPECT_EQ(fetched_, std::vector<std::string>{kStart});
}

TEST_F(CataloguePages, KeepsEntriesReadBeforeAnError) {
  SetPage("start", Title("11111111") + Next("gone"));
  EXPECT_EQ(Read(), Eans{"11111111"});
  ASSERT_TRUE(error_);
  EXPECT_TRUE(error_->is_unreachable);
  pages_["https://shop.example/opds/gone"] = "<html/>";
  EXPECT_EQ(Read(), Eans{"11111111"});
  ASSERT_TRUE(error_);
  EXPECT_NE(std::string(error_->what()).find("/opds/gone"), std::string::npos);
}

TEST_F(CataloguePages, StopsAtItsLimits) {
  const Catalogue endless(kStart, [page = 0](const std::string&) mutable {
    return "<feed xmlns='http://www.w3.org/2005/Atom'>" + Next("?p=" + std::to_string(++page)) +
           "</feed>";
  });
  EXPECT_THROW(endless.Read([](const CatalogueEntry&) { return true; }), CatalogueError);
  EXPECT_THROW(Catalogue("", {}).Find({"1"}), CatalogueError);
}

TEST_F(CataloguePages, FindStopsAtTheLastTitle) {
  SetPage("start", Title("11111111") + Title("22222222") + Next("two"));
  SetPage("two", Title("33333333") + Next("gone"));
  EXPECT_EQ(Make().Find({"22222222", "11111111"}).size(), 2U);
  EXPECT_EQ(fetched_.size(), 1U);
  EXPECT_EQ(Make().Find({"33333333"}).front().title, "Title 33333333");
  EXPECT_THROW(Make().Find({"99999999"}), CatalogueError) << "it may be on the missing page";
  SetPage("gone", "");
  EXPECT_TRUE(Make().Find({"99999999"}).empty());
}

TEST_F(CataloguePages, MatchesIgnoringCase) {
  CatalogueEntry entry;
  entry.title = "ÜBER die Brücken";
  entry.ean = "9780000000017";
  EXPECT_TRUE(Matches(entry, FoldCase("über DIE")));
  EXPECT_TRUE(Matches(entry, FoldCase("00017")));
  EXPECT_FALSE(Matches(entry, FoldCase("Brucken")));
}

}  // namespace
}  // namespace app
