#include <gtest/gtest.h>

#include <ctime>

#include "opds_feed.h"
#include "opensearch.h"
#include "support/files.h"
#include "text.h"
#include "url.h"

namespace app {
namespace {

using Formats = std::vector<std::string>;

const std::string kPage = "https://shop.example/4711/opds/start?page=1";
const std::string kOpds = "http://opds-spec.org/";
const std::string kAcquisition = kOpds + "acquisition";

/// A feed with namespaces under their usual names.
std::string Feed(const std::string& content) {
  return "<feed xmlns='http://www.w3.org/2005/Atom' xmlns:dc='http://purl.org/dc/terms/' "
         "xmlns:opds='" +
         kOpds + "2010/catalog'>" + content + "</feed>";
}

std::string Entry(const std::string& content) {
  return Feed("<entry><id>urn:ean:9780000000017</id><title>T</title>" + content + "</entry>");
}

std::string Buy(const std::string& type, const std::string& inside = "") {
  return "<link rel='" + kAcquisition + "/buy' type='" + type + "' href='/p'>" + inside + "</link>";
}

CatalogueEntry Only(const std::string& xml) {
  SetUtf8Locale();
  const FeedPage page = ParseFeed(xml, kPage);
  EXPECT_EQ(page.entries.size(), 1U) << xml;
  return page.entries.empty() ? CatalogueEntry() : page.entries.front();
}

TEST(ParseFeed, ReadsAllFieldsOfATitle) {
  const CatalogueEntry entry = Only(
      Feed("<entry><title>Der  Weg\n nach oben</title><id>tag:x,2020:1</id>"
           "<author><name>A. Ä</name></author><author><name>B</name></author>"
           "<dc:identifier>urn:isbn:978-0-00-000001-7</dc:identifier><dc:language>de</dc:language>"
           "<summary>S</summary><dc:issued>2021-03-15</dc:issued>"
           "<category term='FIC' label='Novel'/><category term='Alps'/>"
           "<link rel='" +
           kOpds +
           "image/thumbnail' href='../covers/1.png'/>"
           "<link rel='alternate' type='text/html' href='/product/1#top'/>" +
           Buy("application/epub+zip",
               "<opds:price currencycode='EUR'>4.99</opds:price>"
               "<opds:price currencycode='USD'>9.99</opds:price>") +
           "</entry>"));
  EXPECT_EQ(entry.title, "Der Weg nach oben");
  EXPECT_EQ(entry.author, "A. Ä, B");
  EXPECT_EQ(entry.ean, "9780000000017");
  EXPECT_EQ(entry.language, "de");
  EXPECT_EQ(entry.published, "2021-03-15");
  EXPECT_EQ(entry.subject, "Novel, Alps");
  EXPECT_EQ(entry.price_hundredths, 499);
  EXPECT_EQ(entry.currency, "EUR");
  EXPECT_EQ(entry.formats, Formats{"EPUB"});
  EXPECT_EQ(entry.type, "application/epub+zip");
  EXPECT_EQ(entry.thumbnail_url, "https://shop.example/4711/covers/1.png");
  EXPECT_EQ(entry.page_url, "https://shop.example/product/1");
}

TEST(ParseFeed, RecognisesElementsByNamespace) {
  const CatalogueEntry entry = Only(
      "<a:feed xmlns:a='http://www.w3.org/2005/Atom' xmlns='urn:other'><title>other</title>"
      "<a:entry xmlns:o='" +
      kOpds +
      "2010/catalog'><title>not Atom's</title>"
      "<a:title>T</a:title><a:id>urn:ean:9780000000017</a:id>"
      "<a:link rel='" +
      kAcquisition +
      "' type='text/html' href='p'>"
      "<o:indirectAcquisition type='application/pdf'/><x:price xmlns:x='urn:other'>9</x:price>"
      "</a:link></a:entry></a:feed>");
  EXPECT_EQ(entry.title, "T");
  EXPECT_EQ(entry.formats, Formats{"PDF"});
  EXPECT_EQ(entry.price_hundredths, std::nullopt);
  EXPECT_THROW(ParseFeed("<feed><entry/></feed>", kPage), FeedError) << "no namespace at all";
}

TEST(ParseFeed, ListsFormatsOfNestedAcquisitions) {
  const CatalogueEntry ticket = Only(
      Entry(Buy("text/html",
                "<opds:indirectAcquisition type='application/vnd.adobe.adept+xml'>"
                "<opds:indirectAcquisition type='application/epub+zip'/></opds:indirectAcquisition>"
                "<opds:indirectAcquisition type='application/pdf'/>")));
  EXPECT_EQ(ticket.formats, (Formats{"EPUB", "PDF"}));
  EXPECT_TRUE(ticket.needs_adobe);
  EXPECT_FALSE(Only(Entry(Buy("application/octet-stream"))).needs_adobe);
  EXPECT_EQ(Only(Entry(Buy("text/html"))).formats, Formats())
      << "a page of the shop is not a format";

  std::string deep;
  for (int i = 0; i < 50'000; ++i) deep += "<opds:indirectAcquisition type='application/pdf'>";
  for (int i = 0; i < 50'000; ++i) deep += "</opds:indirectAcquisition>";
  EXPECT_LT(Only(Entry(Buy("text/html", deep))).formats.size(), 16U);
}

TEST(ParseFeed, KeepsFirstElementAndStripsMarkup) {
  const CatalogueEntry entry = Only(
      Entry("<title>second</title><entry><title>inner</title></entry>" + Buy("application/pdf") +
            "<summary type='xhtml'><div xmlns='http://www.w3.org/1999/xhtml'>One <b>two</b>"
            "<p/> three</div></summary>"));
  EXPECT_EQ(entry.title, "T");
  EXPECT_EQ(entry.summary, "One two three");
  const std::string html = "<summary type='html'>Tom &amp;amp; &lt;b&gt;Jerry&lt;/b&gt;</summary>";
  EXPECT_EQ(Only(Entry(html + Buy("application/pdf"))).summary, "Tom & Jerry");
  EXPECT_EQ(Only(Entry("<summary>a\x1b[2Jb</summary>" + Buy("application/pdf"))).summary, "a�[2Jb");
}

FeedPage ParseFile(const std::string& name) {
  SetUtf8Locale();
  const std::string xml = tests::ReadFile(std::string(FEEDS) + "/" + name);
  return ParseFeed(xml, "https://shop.example/de/list?page=1");
}

TEST(ParseFeed, ReadsNavigationFeedsOfServers) {
  const FeedPage page = ParseFile("navigation.xml");
  EXPECT_EQ(page.title, "The Harbour Library");
  EXPECT_EQ(page.search_template,
            "https://books.example/opds/find?q={searchTerms}&page={startPage?}");
  EXPECT_TRUE(page.entries.empty());
  EXPECT_EQ(page.skipped_count, 1U);
  ASSERT_EQ(page.sections.size(), 3U);
  EXPECT_EQ(page.sections[0].url, "https://books.example/opds/authors");
  EXPECT_EQ(page.sections[0].summary, "Everyone from A to Z");
  EXPECT_EQ(page.sections[1].summary, "Added this week");
  EXPECT_TRUE(page.sections[1].is_order);
  EXPECT_EQ(page.sections[2].url, "https://books.example/opds/shelves/poems?sort=title&n=2");
  EXPECT_FALSE(page.sections[2].is_order);
}

TEST(ParseFeed, ReadsAcquisitionFeedsOfServers) {
  const FeedPage page = ParseFile("acquisition.xml");
  EXPECT_EQ(page.title, "Café & Kontor");
  EXPECT_EQ(page.total, 124U);
  EXPECT_EQ(page.next_url, "https://shop.example/de/list?page=2");
  EXPECT_EQ(page.search_url, "https://shop.example/search.xml");
  ASSERT_EQ(page.facets.size(), 2U);
  EXPECT_EQ(page.facets[1].group, "Language");
  EXPECT_EQ(page.facets[1].title, "Français");
  EXPECT_EQ(page.facets[1].url, "https://shop.example/de/list?lang=fr");
  ASSERT_EQ(page.entries.size(), 2U);
  const CatalogueEntry& sold = page.entries[0];
  EXPECT_EQ(sold.title, "Der Zwölfte – ein <Roman>");
  EXPECT_EQ(sold.author, "Ann One, Two, Bob");
  EXPECT_EQ(sold.ean, "9780000000017");
  EXPECT_EQ(sold.summary, "short");
  EXPECT_EQ(sold.price_hundredths, 1950);
  EXPECT_EQ(sold.currency, "CHF");
  EXPECT_EQ(sold.formats, Formats{"EPUB"}) << "each once";
  EXPECT_TRUE(sold.needs_adobe);
  EXPECT_EQ(sold.page_url, "https://shop.example/de/buy/1") << "the page that sells it";
  const CatalogueEntry& free = page.entries[1];
  EXPECT_EQ(free.ean, "9780000000024");
  EXPECT_EQ(free.summary, "Fog\u00A0& sea by night 1 < 2 € &bogus;");
  EXPECT_EQ(free.price_hundredths, std::nullopt);
  EXPECT_EQ(free.formats, (Formats{"EPUB", "PDF"}));
  EXPECT_EQ(free.page_url, "https://shop.example/page/2");
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr double kMaxTime_s = 20;
#else
constexpr double kMaxTime_s = 2;
#endif

/// `unit` as often as it fits into the largest page, between `head` and `tail`.
std::string Fill(const std::string& head, const std::string& unit, const std::string& tail = "") {
  std::string xml = head;
  while (xml.size() + unit.size() + tail.size() <= kMaxPage_bytes) xml += unit;
  return xml + tail;
}

TEST(ParseFeed, AnswersTheLargestPageInTwoSeconds) {
  SetUtf8Locale();
  const std::string head = Feed("").substr(0, Feed("").size() - 7);
  const std::string buy = Buy("application/pdf");
  const std::string namespaces = [] {
    std::string text;
    for (int i = 0; i < 60; ++i) {
      text += " xmlns:n" + std::to_string(i) + "='urn:" + std::to_string(i) + "'";
    }
    return text;
  }();
  const std::pair<const char*, std::string> pages[] = {
      {"short entries", Fill(head, "<entry><title>T</title>" + buy + "</entry>", "</feed>")},
      {"empty entries", Fill(head, "<entry/>", "</feed>")},
      {"foreign elements", Fill(head, "<dc:x/>", "</feed>")},
      {"attributes", Fill(head + "<entry ", "a=''", "/></feed>")},
      {"prefixes", Fill(head + "<entry" + namespaces + ">", "<n59:a/>", "</entry></feed>")},
      {"many namespaces", Fill(head, "<entry" + namespaces + "><n0:a/></entry>", "</feed>")},
      {"links", Fill(head + "<entry>", "<link rel='alternate' type='text/html' href='x'/>",
                     "</entry></feed>")},
      {"a deep element", Fill(head, "<a>")},
      {"a long summary", Fill(head + "<entry>" + buy + "<summary type='html'>", "&amp;#8364;&lt;b",
                              "</summary></entry></feed>")},
      {"summaries", Fill(head,
                         "<entry>" + buy + "<summary type='html'>" + std::string(7000, 'x') +
                             "&lt;b&gt;</summary></entry>",
                         "</feed>")},
      {"text", Fill(head, "x", "</feed>")},
      {"bytes", std::string(kMaxPage_bytes, '\xFF')}};
  for (const auto& [name, xml] : pages) {
    const std::clock_t start = std::clock();  // of the processor, which others may use, too
    try {
      ParseFeed(xml, kPage);
    } catch (const FeedError& error) {
      EXPECT_STRNE(error.what(), "") << name;
    }
    const double time_s = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    EXPECT_LT(time_s, kMaxTime_s) << name;
  }
}

TEST(ParseFeed, DistinguishesTitlesSectionsAndSamples) {
  const FeedPage page =
      ParseFeed(Feed("<link rel='next' href='?page=2'/><link rel='next' href='?page=9'/>"
                     "<entry><title>News</title><link rel='subsection' href='new' "
                     "type='application/atom+xml;profile=opds-catalog;kind=acquisition'/></entry>"
                     "<entry><title>Strange</title><link rel='urn:unknown' href='x' "
                     "type='application/atom+xml'/></entry>"
                     "<entry><title>Sample</title><link rel='" +
                     kAcquisition + "/sample' type='application/pdf' href='s'/></entry>"),
                kPage);
  EXPECT_TRUE(page.entries.empty());
  EXPECT_EQ(page.skipped_count, 2U);
  ASSERT_EQ(page.sections.size(), 1U);
  EXPECT_EQ(page.sections[0].url, "https://shop.example/4711/opds/new");
  EXPECT_EQ(page.next_url, "https://shop.example/4711/opds/start?page=2");
}

TEST(ParseFeed, ThrowsTheReasonForABrokenPage) {
  const auto expect_reason = [](const std::string& xml, const std::string& named) {
    try {
      ParseFeed(xml, kPage);
      ADD_FAILURE() << xml;
    } catch (const FeedError& error) {
      EXPECT_NE(std::string(error.what()).find(named), std::string::npos) << error.what();
    }
  };
  expect_reason("", "not XML");
  expect_reason("{\"error\": true}", "not XML");
  expect_reason(Feed("<entry>").substr(0, 90), "at byte");
  expect_reason("<html><body/></html>", "\"html\"");
  expect_reason("<\x1b[2J/>", "byte");
  expect_reason(Entry(Buy("text/html", "<o:indirectAcquisition/>")), "the prefix \"o\"");
  expect_reason(std::string(kMaxPage_bytes + 1, ' '), "larger than 10 MiB");
  std::string attributes;
  for (int i = 0; i < 100; ++i) attributes += " a" + std::to_string(i) + "=''";
  expect_reason(Feed("<entry" + attributes + "/>"), "more than 64 attributes");
  std::string entries;
  for (int i = 0; i <= 20'000; ++i) entries += "<entry><link/></entry>";
  expect_reason(Feed(entries), "more than 20000 entries");
}

TEST(OpenSearch, ExpandsTheTemplateOfTitles) {
  const std::string url = "https://shop.example/de/search.xml";
  const auto describe = [](const std::string& urls) {
    return "<OpenSearchDescription xmlns='" + std::string(kOpenSearch) + "'>" + urls +
           "</OpenSearchDescription>";
  };
  const std::string feed = "<Url type='application/atom+xml;profile=opds-catalog' ";
  const std::pair<std::string, std::string> cases[] = {
      {feed + "template='https://a.example/{searchTerms}/x'/>",
       "https://a.example/%C3%BC%20%26a%2F/x"},
      {feed + "template='find?q={searchTerms}&amp;p={startPage?}&amp;i={startIndex}&amp;n={count?}"
              "&amp;x={atom:author?}&amp;e={inputEncoding}'/>",
       "https://shop.example/de/find?q=%C3%BC%20%26a%2F&p=1&i=1&n=50&x=&e=UTF-8"},
      {feed + "pageOffset='0' indexOffset='0' "
              "template='?q={searchTerms}&amp;p={startPage}&amp;i={startIndex}'/>",
       "https://shop.example/de/search.xml?q=%C3%BC%20%26a%2F&p=0&i=0"},
      {"<Url type='text/html' template='/page?q={searchTerms}'/>"
       "<Url type='application/atom+xml' template='/news?q={searchTerms}'/>" +
           feed + "template='/opds?q={searchTerms}'/>",
       "https://shop.example/opds?q=%C3%BC%20%26a%2F"},
      {feed + "template='/opds?q={searchTerms}&amp;k={key}'/>", ""},
      {feed + "template='/opds?q={searchTerms'/>", ""},
      {feed + "template='/opds'/>", ""},
      {feed + "template='javascript:{searchTerms}'/>", ""},
      {"", ""}};
  for (const auto& [urls, expected] : cases) {
    const std::string prepared = ParseSearchDescription(describe(urls), url);
    EXPECT_EQ(ExpandSearchTemplate(prepared, "ü &a/"), expected) << urls;
  }
  EXPECT_THROW(ParseSearchDescription(Feed(""), url), FeedError);
}

TEST(CatalogueUrl, ResolvesHttpOnlyAndComparesOrigins) {
  EXPECT_EQ(ResolveUrl("https://a.example/b/c?d", "../e?f#g"), "https://a.example/e?f");
  EXPECT_EQ(ResolveUrl("https://a.example/b", "//c.example/d"), "https://c.example/d");
  EXPECT_EQ(ResolveUrl("https://a.example/", "file:///etc/passwd"), "");
  EXPECT_EQ(ResolveUrl("https://a.example/", "javascript:x"), "");
  EXPECT_EQ(ResolveUrl("", "opds/start"), "");
  EXPECT_TRUE(IsSameOrigin("https://a.example/x", "https://A.example:443/y"));
  EXPECT_FALSE(IsSameOrigin("https://a.example/x", "http://a.example/x"));
  EXPECT_FALSE(IsSameOrigin("https://a.example/x", "https://a.example:444/x"));
}

}  // namespace
}  // namespace app
