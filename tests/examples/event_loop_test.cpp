#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <filesystem>

#include "support/development_shop.h"
#include "support/files.h"

namespace tests {
namespace {

namespace fs = std::filesystem;

constexpr char kEan[] = "9780000001078";
constexpr int kSize_bytes = 1'000'000;

/// The example on the device of this process, with a shop.
class EventLoop : public testing::Test {
 protected:
  EventLoop() { shop_.Announce(); }

  static Command Download(const std::string& password, const std::string& ean = kEan) {
    // Replaces the shell, so that signals go to the example.
    return {"sh", "-c", "exec \"$0\" anna@quire.example " + ean + " <<END\n" + password + "\nEND\n",
            QUIRE_EVENT_LOOP};
  }

  /// The file in the directory of downloads whose name ends so; empty if there is none.
  static std::string FindDownload(const std::string& name_end) {
    for (const auto& entry : fs::directory_iterator("/mnt/ext1/Downloads")) {
      if (entry.path().string().ends_with(name_end)) return entry.path();
    }
    return "";
  }

  /// Interrupts the example. \return its output.
  static std::string Interrupt(Process& example) {
    using Clock = std::chrono::steady_clock;
    const auto began = Clock::now();
    example.Kill(SIGINT);
    const ProcessResult result = example.Wait();
    EXPECT_LT(Clock::now() - began, std::chrono::seconds(1));
    EXPECT_EQ(result.exit_code, 1);
    return result.out;
  }

  DevelopmentShop shop_;
};

TEST_F(EventLoop, ExplainsWhyNothingIsDownloaded) {
  const std::string refused = RunProgram(Download("wrong")).out;
  EXPECT_NE(refused.find("The shop did not let you in: "), std::string::npos) << refused;
  const std::string unknown = RunProgram(Download("secret", "4006381333931")).out;
  EXPECT_NE(unknown.find("You have not bought this book"), std::string::npos) << unknown;
  shop_.Arm({{"path", "/files/*"}, {"fault", "status"}, {"status", 404}});
  const ProcessResult failed = RunProgram(Download("secret"));
  EXPECT_NE(failed.out.find("The book is not downloaded: "), std::string::npos) << failed.out;
  EXPECT_EQ(failed.exit_code, 1);
}

TEST_F(EventLoop, ContinuesDownloadAfterInterrupt) {
  shop_.Control("/_books", {{"ean", kEan}, {"size_bytes", kSize_bytes}, {"revision", 1}});
  shop_.Arm({{"path", "/files/*"}, {"fault", "slow"}, {"after_bytes", kSize_bytes / 2}});
  Process first(Download("secret"));
  ASSERT_TRUE(first.WaitForOutput("50 %")) << first.out();
  const std::string record = FindDownload(".part.info");
  ASSERT_TRUE(WaitUntil([&] { return !ReadFile(record).ends_with("\n0\n"); })) << "not synced";
  EXPECT_NE(Interrupt(first).find("Stopped."), std::string::npos);
  EXPECT_GE(fs::file_size(FindDownload(".part")), kSize_bytes / 2);

  const ProcessResult second = RunProgram(Download("secret"));
  EXPECT_EQ(second.exit_code, 0) << second.out;
  const std::string path = FindDownload(".epub");
  EXPECT_NE(second.out.find("The book is saved as " + path + "\n"), std::string::npos);
  EXPECT_EQ(fs::file_size(path), kSize_bytes);
  EXPECT_EQ(FindDownload(".part"), "");
  EXPECT_TRUE(shop_.Requests(".epub").back()["headers"].dump().find("bytes=") != std::string::npos)
      << "the whole book was downloaded again";
}

TEST_F(EventLoop, EndsWhileTheShopDoesNotAnswer) {
  shop_.Arm({{"path", "/login"}, {"fault", "hang"}});
  Process example(Download("secret"));
  ASSERT_TRUE(WaitUntil([&] { return shop_.Delivered() == 1; }));
  Interrupt(example);
}

}  // namespace
}  // namespace tests
