#include "devshop/running_shop.h"

namespace tests {
namespace {

class DevshopFiles : public RunningShop {
 protected:
  void SetUp() override {
    Start();
    path_ = FilePath("9001");
    whole_ = Get({});
  }
  httplib::Response Get(const httplib::Headers& headers) {
    return RunningShop::Get(path_, headers);
  }
  std::string path_;
  httplib::Response whole_;
};

TEST_F(DevshopFiles, ServesExactRanges) {
  ASSERT_EQ(whole_.status, 200);
  EXPECT_EQ(whole_.get_header_value("Accept-Ranges"), "bytes");
  EXPECT_EQ(whole_.get_header_value("Content-Type"), "text/plain; charset=utf-8");
  const std::string size = std::to_string(whole_.body.size());
  const auto expect_part = [&](const std::string& range, std::size_t first, std::size_t last) {
    const auto part = Get({{"Range", "bytes=" + range}});
    EXPECT_EQ(part.status, 206) << range;
    EXPECT_EQ(part.get_header_value("Content-Range"),
              "bytes " + std::to_string(first) + "-" + std::to_string(last) + "/" + size);
    EXPECT_EQ(part.body, whole_.body.substr(first, last - first + 1)) << range;
  };
  const std::size_t end = whole_.body.size() - 1;
  expect_part("0-0", 0, 0);
  expect_part("100-199", 100, 199);
  expect_part("700-", 700, end);
  expect_part("-5", end - 4, end);
  expect_part("10-999999", 10, end);
  expect_part("-999999", 0, end);

  const auto beyond = Get({{"Range", "bytes=" + size + "-"}});
  EXPECT_EQ(beyond.status, 416);
  EXPECT_EQ(beyond.get_header_value("Content-Range"), "bytes */" + size);
  EXPECT_EQ(Get({{"Range", "bytes=1-2,4-5"}}).body, whole_.body);
  EXPECT_EQ(Get({{"Range", "bytes=99999999999999999999999-"}}).status / 100, 4);

  const auto head = Client().Head(path_);
  EXPECT_EQ(head->get_header_value("Content-Length"), size);
  EXPECT_EQ(head->get_header_value("ETag"), whole_.get_header_value("ETag"));
}

TEST_F(DevshopFiles, SendsWholeBookWhenIfRangeDiffers) {
  const std::string etag = whole_.get_header_value("ETag");
  ASSERT_EQ(etag.front(), '"') << "ranges need a strong tag";
  const auto tail = [&](const std::string& condition) {
    return Get({{"Range", "bytes=7-"}, {"If-Range", condition}}).status;
  };
  EXPECT_EQ(tail(etag), 206);
  EXPECT_EQ(tail(whole_.get_header_value("Last-Modified")), 206);
  EXPECT_EQ(tail("\"other\""), 200);

  const auto replace = [&](int revision) {
    return shop_->Control("/_books",
                          {{"ean", "9001"}, {"size_bytes", 300'001}, {"revision", revision}});
  };
  const Json first = replace(1);
  EXPECT_EQ(tail(etag), 200);
  const auto one = Get({});
  EXPECT_EQ(one.body.size(), 300'001u);
  EXPECT_NE(first["sha256"], replace(2)["sha256"]);
  EXPECT_EQ(tail(first["etag"]), 200);
  EXPECT_NE(Get({}).body, one.body);
  Client("control").Delete("/_books");
  EXPECT_EQ(Get({}).body, whole_.body);
}

TEST_F(DevshopFiles, ServesWithoutRangesValidatorsOrLength) {
  shop_->Control("/_books", {{"ean", "9001"}, {"ranges", false}, {"validators", "none"}});
  const auto plain = Get({{"Range", "bytes=7-"}});
  EXPECT_EQ(plain.status, 200);
  EXPECT_EQ(plain.body, whole_.body);
  EXPECT_FALSE(plain.has_header("ETag") || plain.has_header("Last-Modified"));
  shop_->Control("/_books", {{"ean", "9001"}, {"chunked", true}, {"size_bytes", 600'000}});
  const auto chunked = Get({});
  EXPECT_FALSE(chunked.has_header("Content-Length"));
  EXPECT_EQ(chunked.body.size(), 600'000u);
  shop_->Control("/_books", {{"ean", "9001"}, {"size_bytes", 0}, {"chunked", false}});
  EXPECT_EQ(Get({}).body, "");
  const Json invalid[] = {
      {{"ean", "9999"}}, {{"ean", "9001"}, {"size", 5}}, {{"ean", "9001"}, {"size_bytes", "5"}}};
  for (const Json& fields : invalid) shop_->Control("/_books", fields, 400);
}

}  // namespace
}  // namespace tests
