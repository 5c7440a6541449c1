#include <gtest/gtest.h>

#include "opds_feed.h"
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
  EXPECT_EQ(page.sections, std::vector<std::string>{"https://shop.example/4711/opds/new"});
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
  std::string deep;
  for (int i = 0; i < 200'000; ++i) deep += "<a>";
  expect_reason(deep, "");
}

TEST(UrlUtil, ResolvesHttpOnlyAndComparesOrigins) {
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
