#include "devshop/running_shop.h"
#include "support/files.h"

namespace tests {
namespace {

class DevshopCatalogue : public RunningShop {
 protected:
  std::string Feed(const std::string& query) {
    const auto answer = ShopClient().Get("/de/4711/opds/start" + query);
    return answer ? std::to_string(answer->status) + answer->body : "";
  }
  static int Count(const std::string& text, const std::string& part) {
    int found = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
    return found;
  }
};

TEST_F(DevshopCatalogue, ListsTitlesInPages) {
  const std::string first = Feed("");
  EXPECT_EQ(Count(first, "<entry>"), 10);
  EXPECT_EQ(Count(first, "rel=\"next\""), 1);
  EXPECT_EQ(Count(first, "rel=\"previous\""), 0);
  EXPECT_NE(first.find("<dc:identifier>urn:ean:9001</dc:identifier>"), std::string::npos);
  EXPECT_NE(first.find("<title>Töpfern &amp; \"Ton\" &lt;1&gt;</title>"), std::string::npos);
  EXPECT_NE(first.find("<opds:price currencycode=\"EUR\">1.99</opds:price>"), std::string::npos);
  EXPECT_NE(first.find("<opds:indirectAcquisition type=\"application/vnd.adobe.adept+xml\">\n"
                       "        <opds:indirectAcquisition type=\"application/epub+zip\" />"),
            std::string::npos);
  const std::string second = Feed("?page=2");
  EXPECT_EQ(Count(second, "<entry>"), 2);
  EXPECT_EQ(Count(second, "rel=\"next\""), 0);
  for (const char* page : {"0", "3", "-1", "x", "1x"}) {
    EXPECT_EQ(Feed(std::string("?page=") + page).substr(0, 3), "404") << page;
  }
}

TEST_F(DevshopCatalogue, IgnoresCaseInSearch) {
  EXPECT_EQ(Count(Feed("?q=%C3%9CBER%20GLASUREN"), "<entry>"), 1);
  EXPECT_NE(Feed("?q=t%C3%B6pfern").find("?q=t%C3%B6pfern&amp;page=2"), std::string::npos);
  EXPECT_EQ(Count(Feed("?q=nowhere"), "<entry>"), 0);
  EXPECT_EQ(Feed("?q=nowhere").substr(0, 3), "200");
  EXPECT_EQ(Feed("?q=%FF%FE").substr(0, 3), "200");
}

TEST_F(DevshopCatalogue, ListsBooksOfDirectoryWithoutCatalogue) {
  TemporaryDirectory books;
  WriteFile(books / "Broken.epub", "no archive at all");
  WriteFile(books / "Notes: a, b & c.TXT", "text");
  WriteFile(books / "photo.jpg", "no book");
  WriteEpub(books / "fluss.epub",
            "<package xmlns:d='http://purl.org/dc/elements/1.1/'><metadata>"
            "<d:title>Der Fluß</d:title><d:creator>A. Öz</d:creator><d:creator>B. Ek</d:creator>"
            "<d:language>de</d:language></metadata></package>");
  Start({"--books", books.path()});
  const std::string listed = Feed("");
  EXPECT_EQ(Count(listed, "<entry>"), 3) << listed;
  EXPECT_NE(listed.find("<title>Der Fluß</title>"), std::string::npos) << listed;
  EXPECT_NE(listed.find("<name>A. Öz, B. Ek</name>"), std::string::npos);
  EXPECT_NE(listed.find("<title>Broken</title>"), std::string::npos);
  EXPECT_NE(listed.find("<title>Notes: a, b &amp; c</title>"), std::string::npos);
  const Json before = shop_->Control("/_books")["books"];
  Start({"--books", books.path()});
  EXPECT_EQ(shop_->Control("/_books")["books"], before) << "the EANs stay";
  // Anna's books are not in this directory, so she owns its first ones.
  EXPECT_EQ(Get(FilePath(before[0]["ean"])).body, "no archive at all");
}

}  // namespace
}  // namespace tests
