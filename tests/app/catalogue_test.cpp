#include "catalogue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>

#include "opensearch.h"
#include "search_text.h"
#include "text.h"

namespace app {
namespace {

const std::string kStart = "https://shop.example/opds/start";

std::string Title(const std::string& ean, const std::string& title = "",
                  const std::string& more = "") {
  return "<entry><id>urn:ean:" + ean + "</id><title>" + (title.empty() ? "Title " + ean : title) +
         "</title><link rel='http://opds-spec.org/acquisition' type='application/pdf' "
         "href='x'/>" +
         more + "</entry>";
}

std::string Section(const std::string& href, const std::string& title = "",
                    const std::string& relation = "subsection") {
  return "<entry><title>" + title + "</title><link rel='" + relation +
         "' type='application/atom+xml' href='" + href + "'/></entry>";
}

std::string Next(const std::string& href) {
  return "<link rel='next' href='" + href + "'/>";
}

std::string Facet(const std::string& group, const std::string& title, const std::string& href) {
  return "<link rel='http://opds-spec.org/facet' xmlns:o='http://opds-spec.org/2010/catalog' "
         "o:facetGroup='" +
         group + "' title='" + title + "' href='" + href + "'/>";
}

std::string Total(int count) {
  return "<t:totalResults xmlns:t='" + std::string(kOpenSearch) + "'>" + std::to_string(count) +
         "</t:totalResults>";
}

const std::string kSearch =
    "<link rel='search' type='application/atom+xml' href='find?q={searchTerms}'/>";

/// A catalogue whose pages the test sets.
class CataloguePages : public testing::Test {
 protected:
  using Eans = std::vector<std::string>;
  using Order = CatalogueQuery::Order;

  void SetUp() override { SetUtf8Locale(); }

  static std::string Url(const std::string& path) { return "https://shop.example/opds/" + path; }

  void SetPage(const std::string& path, const std::string& content) {
    pages_[Url(path)] = "<feed xmlns='http://www.w3.org/2005/Atom'>" + content + "</feed>";
  }

  Catalogue Make() {
    return Catalogue(kStart, [this](const std::string& url) -> FetchedPage {
      fetched_.push_back(url);
      if (!pages_.contains(url)) throw CatalogueError("away", true);
      return {pages_[url], url};
    });
  }

  static Eans EansOf(const std::vector<CatalogueEntry>& entries) {
    Eans eans;
    for (const CatalogueEntry& entry : entries) eans.push_back(entry.ean);
    return eans;
  }

  /// The EANs that a query lists.
  Eans List(const CatalogueQuery& query = {}) {
    fetched_.clear();
    listing_ = Make().List(query);
    return EansOf(listing_.entries);
  }

  std::map<std::string, std::string> pages_;
  std::vector<std::string> fetched_;
  CatalogueListing listing_;
};

TEST_F(CataloguePages, FollowsPagesThenSectionsOnce) {
  SetPage("start", Section("new") + Title("11111111") + Next("start?page=2"));
  SetPage("start?page=2", Title("22222222") + Next("start"));
  SetPage("new", Title("33333333") + Title("11111111") + Section("start") +
                     Section("newest", "", "http://opds-spec.org/sort/new"));
  EXPECT_EQ(List(), (Eans{"11111111", "22222222", "33333333"}));
  EXPECT_EQ(fetched_.size(), 3U) << "the newest are titles of other sections";
  EXPECT_FALSE(listing_.error);
  EXPECT_EQ(listing_.total, 3U);
}

TEST_F(CataloguePages, ReadsOnlyTheShopsOrigin) {
  const std::string away = "https://elsewhere.example/opds";
  SetPage("start", Section(away, "Away") + Title("11111111") +
                       Next("http://shop.example/opds/start?page=2") +
                       Facet("Format", "PDF", away) +
                       "<link rel='search' type='application/opensearchdescription+xml' href='" +
                       away + "'/>");
  CatalogueQuery query;
  query.words = "title";
  query.format = "pdf";
  EXPECT_EQ(List(query), Eans{"11111111"});
  query.sections = {"Away"};
  EXPECT_THROW(List(query), SectionNotFound);
  EXPECT_EQ(fetched_, std::vector<std::string>{kStart});
}

TEST_F(CataloguePages, KeepsEntriesReadBeforeAnError) {
  SetPage("start", Title("11111111") + Next("gone"));
  EXPECT_EQ(List(), Eans{"11111111"});
  ASSERT_TRUE(listing_.error);
  EXPECT_TRUE(listing_.error->is_unreachable);
  pages_[Url("gone")] = "<html/>";
  EXPECT_EQ(List(), Eans{"11111111"});
  ASSERT_TRUE(listing_.error);
  EXPECT_NE(std::string(listing_.error->what()).find("/opds/gone"), std::string::npos);
}

TEST_F(CataloguePages, StopsAtItsLimits) {
  const Catalogue endless(kStart, [page = 0](const std::string& url) mutable -> FetchedPage {
    return {"<feed xmlns='http://www.w3.org/2005/Atom'>" + Next("?p=" + std::to_string(++page)) +
                "</feed>",
            url};
  });
  EXPECT_THROW(endless.List({}), CatalogueError);
  EXPECT_THROW(Catalogue("", {}).Find({"1"}), CatalogueError);
}

TEST_F(CataloguePages, ReadsNoMorePagesThanListed) {
  SetPage("start", Total(6) + Title("11111111") + Title("22222222") + Next("two"));
  SetPage("two", Title("33333333") + Title("44444444") + Next("three"));
  SetPage("three", Title("55555555") + Title("66666666"));
  const struct {
    std::size_t first;
    std::size_t count;
    Eans eans;
    bool has_more;
    std::size_t pages;
  } cases[] = {{0, 2, {"11111111", "22222222"}, true, 1},
               {0, 3, {"11111111", "22222222", "33333333"}, true, 2},
               {3, 2, {"44444444", "55555555"}, true, 3},
               {4, 2, {"55555555", "66666666"}, false, 3},
               {6, 2, {}, false, 3}};
  for (const bool knows_total : {true, false}) {
    for (const auto& each : cases) {
      CatalogueQuery query;
      query.first = each.first;
      query.max_count = each.count;
      EXPECT_EQ(List(query), each.eans);
      EXPECT_EQ(listing_.has_more, each.has_more);
      if (!knows_total) continue;
      EXPECT_EQ(fetched_.size(), each.pages);
      EXPECT_EQ(listing_.total, 6U);
    }
    SetPage("start", Title("11111111") + Title("22222222") + Next("two"));
  }
}

TEST_F(CataloguePages, SearchesAtTheShopOrItself) {
  const std::string titles =
      Title("11111111", "Küche",
            "<author xmlns='http://www.w3.org/2005/Atom'><name>Müßigbrodt</name></author>") +
      Title("22222222", "Der Οδηγός");
  SetPage("start", titles + kSearch);
  SetPage("find?q=kuche%20a%26b", Title("33333333"));
  CatalogueQuery query;
  query.words = "kuche a&b";
  EXPECT_EQ(List(query), Eans{"33333333"}) << "the shop decides what matches";
  SetPage(
      "start",
      titles + "<link rel='search' type='application/opensearchdescription+xml' href='find.xml'/>");
  const std::pair<const char*, Eans> searches[] = {{"kuche", {"11111111"}},
                                                   {"MÜSSIG küche", {"11111111"}},
                                                   {"ΟΔΗΓΌΣ", {"22222222"}},
                                                   {"222-22-222", {"22222222"}},
                                                   {"kuche οδηγος", {}}};
  for (const char* broken : {"<feed/>", "", "<OpenSearchDescription/>"}) {
    pages_[Url("find.xml")] = broken;
    for (const auto& [words, eans] : searches) {
      query.words = words;
      EXPECT_EQ(List(query), eans) << words << " " << broken;
    }
  }
  pages_.erase(Url("find.xml"));
  EXPECT_THROW(List(query), CatalogueError) << "no network is not a shop without a search";
}

TEST_F(CataloguePages, EntersSectionsByNameOrNumber) {
  SetPage("start", kSearch + Section("one", "Poems") + Next("start2"));
  SetPage("start2", Section("two", "Novels") + Section("three", "New Novels"));
  SetPage("one", kSearch + Title("11111111") + Next("one2"));
  SetPage("one2", Title("22222222"));
  SetPage("two", Section("four", "2"));
  SetPage("four", Title("44444444"));
  SetPage("three", Section("deep", "Deep"));
  SetPage("deep", Title("55555555", "Fog"));
  const std::pair<std::vector<std::string>, Eans> paths[] = {{{"1"}, {"11111111", "22222222"}},
                                                             {{"poem"}, {"11111111", "22222222"}},
                                                             {{"novels", "2"}, {"44444444"}},
                                                             {{"NEW", "1"}, {"55555555"}}};
  CatalogueQuery query;
  query.max_count = 20;
  for (const auto& [path, eans] : paths) {
    query.sections = path;
    EXPECT_EQ(List(query), eans) << path.front();
  }
  for (const char* unknown : {"", "0", "4", "ovels", "Verse"}) {
    query.sections = {unknown};
    EXPECT_THROW(List(query), SectionNotFound) << unknown;
  }
  query.sections.clear();
  EXPECT_TRUE(List(query).empty());
  EXPECT_EQ(listing_.sections.size(), 3U) << "of both pages";
  query.sections = {"1"};
  query.words = "22222222";
  EXPECT_EQ(List(query), Eans{"22222222"}) << "the search of the whole shop is not asked";
  query.sections = {"3"};
  query.words = "fog";
  EXPECT_EQ(List(query), Eans{"55555555"});
}

TEST_F(CataloguePages, SelectsByFacetsOrItself) {
  const std::string german = "<language xmlns='http://purl.org/dc/terms/'>de-AT</language>";
  const std::string titles = Title("11111111", "", german) + Title("22222222");
  SetPage("pdf", Facet("Languages", "Deutsch", "pdf-de"));
  SetPage("pdf-de", Title("33333333") + Facet("Sort", "Newest first", "pdf-de-new"));
  SetPage("pdf-de-new", Title("44444444"));
  CatalogueQuery query;
  query.format = "pdf";
  for (const char* language : {"de", "German", "deutsch"}) {
    query.language = language;
    query.order = Order::kShop;
    SetPage("start", titles);
    EXPECT_EQ(List(query), Eans{"11111111"}) << language;
    SetPage("start", titles + Facet("Colour", "PDF", "x") + Facet("Format", "PDF", "pdf"));
    if (std::string(language) == "German") continue;  // the shop's word is another
    EXPECT_EQ(List(query), Eans{"33333333"}) << language;
    query.order = Order::kNewest;
    EXPECT_EQ(List(query), Eans{"44444444"}) << language;
  }
  query.language.clear();
  query.order = Order::kShop;
  SetPage("start", titles);
  query.format = "epub";
  EXPECT_TRUE(List(query).empty());
}

TEST_F(CataloguePages, SortsAsReadersExpect) {
  const auto priced = [](const char* ean, const char* title, const char* price, const char* date) {
    return Title(ean, title,
                 "<link rel='http://opds-spec.org/acquisition/buy' type='text/html'><price "
                 "xmlns='http://opds-spec.org/2010/catalog' currencycode='EUR'>" +
                     std::string(price) + "</price></link><published>" + date + "</published>");
  };
  SetPage("start", priced("11111111", "Zebra", "9.99", "2021-05-01") +
                       priced("22222222", "Öl", "10.00", "2022-01-01") + Next("two"));
  SetPage("two",
          priced("33333333", "äther", "", "") + priced("44444444", "Aal", "0.50", "2021-05-02"));
  const struct {
    const char* locale;
    Order order;
    Eans eans;
  } cases[] = {{"de_DE.UTF-8", Order::kTitle, {"44444444", "33333333", "22222222", "11111111"}},
               {"C.UTF-8", Order::kTitle, {"44444444", "33333333", "22222222", "11111111"}},
               {"sv_SE.UTF-8", Order::kTitle, {"44444444", "11111111", "33333333", "22222222"}},
               {"C", Order::kPrice, {"44444444", "11111111", "22222222", "33333333"}},
               {"C", Order::kNewest, {"22222222", "44444444", "11111111", "33333333"}}};
  for (const auto& each : cases) {
    setenv("LC_ALL", each.locale, 1);
    CatalogueQuery query;
    query.order = each.order;
    EXPECT_EQ(List(query), each.eans) << each.locale;
    query.first = 1;
    query.max_count = 2;
    EXPECT_EQ(List(query), Eans(each.eans.begin() + 1, each.eans.begin() + 3));
    EXPECT_TRUE(listing_.has_more);
    EXPECT_EQ(listing_.total, 4U);
  }
  unsetenv("LC_ALL");
}

TEST_F(CataloguePages, FindsEansBySearchThenByReading) {
  SetPage("start", kSearch + Title("11111111") + Next("two"));
  SetPage("two", Title("22222222") + Next("three"));
  SetPage("three", "");
  SetPage("find?q=22222222", Title("99999999") + Title("22222222"));
  SetPage("find?q=11111111", "");
  EXPECT_EQ(EansOf(Make().Find({"22222222"})), Eans{"22222222"});
  EXPECT_EQ(fetched_, (std::vector{kStart, Url("find?q=22222222")}));
  EXPECT_EQ(EansOf(Make().Find({"22222222", "11111111"})), (Eans{"22222222", "11111111"}))
      << "a search need not know EANs";
  SetPage("find?q=33333333", "");
  EXPECT_TRUE(Make().Find({"33333333"}).empty());
  pages_.erase(Url("three"));
  EXPECT_THROW(Make().Find({"33333333"}), CatalogueError) << "it may be on the missing page";
}

TEST(FoldForSearch, IgnoresWhatReadersDoNotType) {
  const std::pair<const char*, const char*> same[] = {{"Müßigbrodt", "MÜSSIGBRODT"},
                                                      {"Küche", "kuche"},
                                                      {"Οδηγός", "ΟΔΗΓΌΣ"},
                                                      {"ﬁne", "FINE"},
                                                      {"Ёлка", "елка"},
                                                      {"שָׁלוֹם", "שלום"},
                                                      {"e\u0301", "É"},
                                                      {"Ｆｏｇ", "fog"},
                                                      {"İstanbul", "istanbul"}};
  for (const auto& [one, other] : same) EXPECT_EQ(FoldForSearch(one), FoldForSearch(other)) << one;
  EXPECT_NE(FoldForSearch("が"), FoldForSearch("か"));
  EXPECT_NE(FoldForSearch("कि"), FoldForSearch("क"));
  EXPECT_EQ(FoldForSearch("a\xFF"), "a\uFFFD");
  EXPECT_EQ(FoldWords("  Der\tWEG "), (std::vector<std::string>{"der", "weg"}));
}

}  // namespace
}  // namespace app
