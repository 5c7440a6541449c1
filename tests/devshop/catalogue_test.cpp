#include <pugixml.hpp>
#include <set>

#include "devshop/running_shop.h"
#include "support/files.h"

namespace tests {
namespace {

const std::string kStart = "/de/4711/opds/start";
const std::string kTitles = "/de/4711/opds/titles";
const std::string kAcquisition = "application/atom+xml;profile=opds-catalog;kind=acquisition";
const std::string kNavigation = "application/atom+xml;profile=opds-catalog;kind=navigation";

using Texts = std::vector<std::string>;

/// A document of the catalogue, read with XPath.
struct Feed {
  int status = -1;
  std::string type;
  pugi::xml_document xml;

  std::string Get(const char* path) const { return xml.select_node(path).node().child_value(); }
  std::size_t Count(const char* path) const { return xml.select_nodes(path).size(); }
  std::size_t Total() const { return std::stoul("0" + Get("//opensearch:totalResults")); }
  Texts All(const char* path) const {
    Texts texts;
    for (const auto& found : xml.select_nodes(path)) texts.push_back(found.node().child_value());
    return texts;
  }
  /// The path of the first link with that relation or, for facets, title; empty when there is none.
  std::string Link(const std::string& name) const {
    const std::string path = "//link[@rel='" + name + "' or @title='" + name + "']";
    return PathOf(xml.select_node(path.c_str()).node());
  }
  static std::string PathOf(const pugi::xml_node& link) {
    const std::string href = link.attribute("href").value();
    return href.starts_with(kHost) ? href.substr(kHost.size()) : href;
  }
};

class DevshopCatalogue : public RunningShop {
 protected:
  Feed Load(const std::string& path) const {
    const auto answer = Get(path);
    Feed feed{answer.status, answer.get_header_value("Content-Type"), {}};
    feed.xml.load_string(answer.body.c_str());
    return feed;
  }
  Feed Find(const std::string& query) const { return Load(kStart + query); }
};

TEST_F(DevshopCatalogue, ListsAllTitlesInPages) {
  std::string path = kStart;
  Texts eans;
  for (std::size_t first = 1; !path.empty(); first += 5) {
    if (path == kStart) Start({"--page-size", "5"});
    const Feed page = Load(path);
    EXPECT_EQ(page.Total(), 12u);
    EXPECT_EQ(page.Get("//opensearch:startIndex"), std::to_string(first));
    EXPECT_EQ(page.Get("//opensearch:itemsPerPage"), "5");
    EXPECT_EQ(page.Link("self"), path);
    EXPECT_EQ(page.Link("first"), kStart);
    EXPECT_EQ(page.Link("previous").empty(), path == kStart);
    EXPECT_EQ(page.Link("next").empty(), path == page.Link("last"));
    eans = eans + page.All("//dc:identifier");
    path = page.Link("next");
  }
  ASSERT_EQ(eans.size(), 12u);
  for (int i = 0; i < 12; ++i) EXPECT_EQ(eans[i], "urn:ean:" + std::to_string(9001 + i));
  for (const char* query : {"page=0", "page=4", "page=-1", "page=x", "page=1x", "sort=size"}) {
    EXPECT_EQ(Find(std::string("?") + query).status, 404) << query;
  }
}

TEST_F(DevshopCatalogue, DescribesTitle) {
  const Feed feed = Find("?q=9003");
  EXPECT_EQ(feed.type, kAcquisition);
  EXPECT_EQ(feed.Get("//entry/title"), "Töpfern & \"Ton\" <3>");
  EXPECT_EQ(feed.Get("//entry/author/name"), "Ünal Öz");
  EXPECT_EQ(feed.Get("//opds:price[@currencycode='EUR']"), "3.99");
  EXPECT_EQ(feed.Count("//opds:indirectAcquisition[@type='application/vnd.adobe.adept+xml']/"
                       "opds:indirectAcquisition[@type='application/epub+zip']"),
            1u);
  for (const char* rel : {"http://opds-spec.org/image", "http://opds-spec.org/image/thumbnail"}) {
    const auto cover = Get(feed.Link(rel));
    EXPECT_EQ(cover.get_header_value("Content-Type"), "image/png");
    EXPECT_EQ(cover.body.substr(0, 4), "\x89PNG");
    EXPECT_LT(cover.body.size(), 1000u);
  }
}

TEST_F(DevshopCatalogue, FindsEveryWordWithoutCaseAndAccents) {
  Start({"--titles", "500"});
  const std::pair<const char*, const char*> rows[] = {
      {"%C3%9CBER%20glasuren", "Töpfern & \"Ton\" <7>"},
      {"unal%20TOPFERN%209004", "Töpfern & \"Ton\" <4>"},
      {"M%C3%9CSSIG", "Die Müßigen von Görlitz"},                       // MÜSSIG
      {"%CE%9F%CE%94%CE%97%CE%93%CE%8C%CE%A3", "Οδηγός για την Ύδρα"},  // ΟΔΗΓΌΣ
      {"%D0%95%D0%9B%D0%9A%D0%90", "Ёлка из города Псков"}};            // ЕЛКА
  for (const auto& [words, title] : rows) {
    const Texts found = Find("?q=" + std::string(words)).All("//entry/title");
    EXPECT_NE(std::find(found.begin(), found.end(), title), found.end()) << words;
  }
  for (const char* words : {"nowhere", "9004%209007", "%FF%FE"}) {
    const Feed none = Find("?q=" + std::string(words));
    EXPECT_EQ(none.status, 200);
    EXPECT_EQ(none.Total(), 0u) << words;
  }
  EXPECT_EQ(Find("?q=%20").Total(), 500u);
  const Feed description = Load(Find("").Link("search"));
  EXPECT_EQ(description.type, "application/opensearchdescription+xml");
  EXPECT_EQ(std::string(description.xml.select_node("//Url").node().attribute("template").value()),
            kHost + kStart + "?q={searchTerms}&page={startPage?}");
}

TEST_F(DevshopCatalogue, CombinesFacetsWithSearchAndPages) {
  Start({"--titles", "1000"});
  const Feed found = Find("?q=der&sort=title&page=2");
  const Feed german = Load(found.Link("German"));
  const Feed pdf = Load(german.Link("PDF"));
  for (const Feed* feed : {&found, &german, &pdf}) {
    ASSERT_GT(feed->Total(), 10u);
    for (const auto& facet : feed->xml.select_nodes("//link[@thr:count]")) {
      const Feed there = Load(Feed::PathOf(facet.node()));
      EXPECT_EQ(there.Total(), facet.node().attribute("thr:count").as_uint());
      EXPECT_EQ(there.Get("//opensearch:startIndex"), "1");
    }
  }
  EXPECT_EQ(pdf.Link("next"), kStart + "?q=der&language=de&format=pdf&sort=title&page=2");
  for (const char* title : {"German", "PDF", "Title"}) {
    EXPECT_EQ(Load(pdf.Link("next")).Link(title), pdf.Link("self")) << title;
  }
  EXPECT_EQ(pdf.Count("//link[@rel='http://opds-spec.org/facet'][@opds:activeFacet='true']"), 3u);
  EXPECT_EQ(pdf.Count("//entry"), pdf.Count("//entry[dc:language='de']"));
  EXPECT_EQ(Load(pdf.Link("All")).Link("self"), kStart + "?q=der&format=pdf&sort=title");
  EXPECT_EQ(Find("?language=xx").Total(), 0u);
}

TEST_F(DevshopCatalogue, SortsTitles) {
  Start({"--titles", "100", "--page-size", "100"});
  const auto sorted = [&](const char* order, const char* path) {
    const Texts texts = Find("?sort=" + std::string(order)).All(path);
    EXPECT_EQ(texts.size(), 100u) << order;
    return texts;
  };
  const auto prices = sorted("price", "//opds:price");
  EXPECT_TRUE(std::is_sorted(prices.begin(), prices.end(), [](const auto& one, const auto& other) {
    return std::stod(one) < std::stod(other);
  }));
  const auto dates = sorted("newest", "//entry/updated");
  EXPECT_TRUE(std::is_sorted(dates.rbegin(), dates.rend()));
  const auto authors = sorted("author", "//entry/author/name");
  const auto first = [&](const char* start) {
    return std::find_if(authors.begin(), authors.end(),
                        [&](const std::string& name) { return name.starts_with(start); });
  };
  ASSERT_NE(first("Z"), authors.end());
  EXPECT_LT(first("Ünal Öz"), first("Z"));
}

TEST_F(DevshopCatalogue, AnswersConditionalRequests) {
  const auto feed = Get(kStart);
  const std::string etag = feed.get_header_value("ETag");
  const std::string modified = feed.get_header_value("Last-Modified");
  const std::string old = "Sun, 06 Nov 1994 08:49:37 GMT", later = "Sun, 06 Nov 2094 08:49:37 GMT";
  const std::pair<httplib::Headers, int> rows[] = {
      {{{"If-None-Match", etag}}, 304},
      {{{"If-None-Match", "\"a\", W/" + etag}}, 304},
      {{{"If-None-Match", "*"}}, 304},
      {{{"If-None-Match", "\"other\""}, {"If-Modified-Since", later}}, 200},
      {{{"If-Modified-Since", modified}}, 304},
      {{{"If-Modified-Since", old}}, 200},
      {{{"If-Modified-Since", "yesterday"}}, 200}};
  for (const auto& [headers, status] : rows) {
    const auto answer = Get(kStart, headers);
    EXPECT_EQ(answer.status, status) << headers.begin()->second;
    EXPECT_EQ(answer.body, status == 304 ? "" : feed.body);
    EXPECT_EQ(answer.get_header_value("ETag"), etag);
  }
  EXPECT_EQ(Get(kStart + "?page=2", {{"If-None-Match", etag}}).status, 200);
  Start();
  EXPECT_EQ(Get(kStart, {{"If-None-Match", etag}}).status, 304) << "the same after a restart";
}

TEST_F(DevshopCatalogue, LeadsToAllTitlesThroughSections) {
  Start({"--titles", "100", "--navigation"});
  const Feed start = Load(kStart);
  EXPECT_EQ(start.type, kNavigation);
  EXPECT_EQ(start.All("//entry/title"),
            (Texts{"All titles", "New titles", "By language", "By format"}));
  EXPECT_EQ(Load(start.Link("subsection")).Total(), 100u);
  EXPECT_EQ(start.Link("http://opds-spec.org/sort/new"), kTitles + "?sort=newest");
  for (const char* path : {"/de/4711/opds/languages", "/de/4711/opds/formats"}) {
    const Feed sections = Load(path);
    EXPECT_EQ(sections.type, kNavigation);
    std::size_t total = 0;
    for (const auto& link : sections.xml.select_nodes("//entry/link[@rel='subsection']")) {
      const Feed titles = Load(Feed::PathOf(link.node()));
      EXPECT_EQ(titles.type, link.node().attribute("type").value());
      EXPECT_EQ(titles.Link("start"), kStart);
      total += titles.Total();
    }
    EXPECT_EQ(total, 100u) << path;
  }
  EXPECT_EQ(Load(start.Link("search"))
                .Count(("//Url[starts-with(@template, '" + kHost + kTitles + "?q=')]").c_str()),
            1u);
}

TEST_F(DevshopCatalogue, GeneratesSameValidTitlesAndBooks) {
  Start({"--titles", "300"});
  const Json books = shop_->Control("/_books")["books"];
  ASSERT_EQ(books.size(), 300u);
  EXPECT_EQ(books[11]["ean"], "9012") << "the shop's own books are first";
  std::map<std::string, std::string> ean_by_type;
  std::set<std::string> titles;
  for (std::size_t i = 12; i < books.size(); ++i) {
    const std::string ean = books[i]["ean"];
    int sum = 0;
    for (std::size_t n = 0; n < ean.size(); ++n) sum += (ean[n] - '0') * (n % 2 == 0 ? 1 : 3);
    EXPECT_EQ(ean.size(), 13u);
    EXPECT_EQ(sum % 10, 0) << ean;
    EXPECT_LT(books[i]["size_bytes"], 10'000);
    ean_by_type[books[i]["type"]] = ean;
    titles.insert(books[i]["title"].get<std::string>());
  }
  EXPECT_EQ(titles.size(), 288u);
  EXPECT_GE(Find("").Count("//link[@opds:facetGroup='Language']"), 10u);

  Texts eans;
  for (const auto& [type, ean] : ean_by_type) eans.push_back(ean);
  ASSERT_EQ(eans.size(), 3u);
  Buy(LogIn(), eans);
  const auto download = [&](const std::string& type, const std::string& name) {
    const auto book = Get(FilePath(ean_by_type[type]));
    EXPECT_EQ(book.get_header_value("Content-Type"), type);
    WriteFile(directory_ / name, book.body);
    return directory_ / name;
  };
  EXPECT_NE(ReadFile(download("text/plain; charset=utf-8", "a.txt")), "");
  const std::string pdf = download("application/pdf", "a.pdf");
  EXPECT_EQ(RunProgram({"qpdf", "--check", pdf}).exit_code, 0);
  EXPECT_NE(RunProgram({"pdfinfo", pdf}).out.find("Title:"), std::string::npos);
  const auto check =
      RunProgram({"java", "-XX:TieredStopAtLevel=1", "-XX:+UseSerialGC", "-cp",
                  "/usr/share/java/bsh.jar:/usr/share/java/epubcheck.jar", "bsh.Interpreter",
                  QUIRE_CHECK_EPUBS, download("application/epub+zip", "a.epub")});
  EXPECT_EQ(check.exit_code, 0) << check.out << check.err;

  Start({"--titles", "300"});
  EXPECT_EQ(shop_->Control("/_books")["books"], books);
}

TEST_F(DevshopCatalogue, ListsBooksOfDirectoryWithoutCatalogue) {
  TemporaryDirectory books;
  WriteFile(books / "Broken.epub", "no archive at all");
  WriteFile(books / "Notes: a, b & c.TXT", "text");
  WriteFile(books / "photo.jpg", "no book");
  WriteFile(books / "Äpfel.txt", "text");
  WriteEpub(books / "fluss.epub",
            "<package xmlns:d='http://purl.org/dc/elements/1.1/'><metadata>"
            "<d:title>Der Fluß</d:title><d:creator>A. Öz</d:creator><d:creator>B. Ek</d:creator>"
            "<d:language>de</d:language></metadata></package>");
  Start({"--books", books.path()});
  const Feed listed = Find("?sort=title");
  EXPECT_EQ(listed.All("//entry/title"), (Texts{"Äpfel", "Broken", "Der Fluß", "Notes: a, b & c"}));
  EXPECT_EQ(listed.Get("//entry/author/name"), "A. Öz, B. Ek");
  const Json before = shop_->Control("/_books")["books"];
  Start({"--books", books.path()});
  EXPECT_EQ(shop_->Control("/_books")["books"], before) << "the EANs stay";
  // Anna's books are not in this directory, so she owns its first ones.
  EXPECT_EQ(Get(FilePath(before[0]["ean"])).body, "no archive at all");
}

}  // namespace
}  // namespace tests
