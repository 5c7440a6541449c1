#include <gtest/gtest.h>

#include <csignal>
#include <optional>

#include "device/test_site.h"
#include "support/files.h"

namespace tests {
namespace {

constexpr char kPage[] = R"(<!DOCTYPE html><html><head><meta charset="utf-8"><title>Zahlung</title>
<style>p { color: red }</style></head><body><h1>Bestellung 7</h1><table><tr><td>Die &Auml;ngste</td>
<td>4,99 EUR</td></tr></table><form method="post" action="pay?step=2">
<input type="hidden" name="token" value="a&amp;b=ü"><input name="empty" type="hidden" value="">
<label for="n">Card number</label><input id="n" name="card_number" autocomplete="cc-number">
<input name="card_cvc"><input type="checkbox" name="news"><select name="country"><option>AT
<option value="DE" selected>Germany</select>
<button name="decision" value="approve">Pay 4,99 EUR</button>
<button name="decision" value="cancel">Cancel</button><button type="button">Help</button></form>)";

/// A shop's payment pages, as the browser reaches them at http://shop.test.
class Agent : public testing::Test {
 protected:
  void SetUp() override { Serve(""); }

  void Serve(const std::string& folder) {
    site_.emplace(folder);
    site_->Redirect("/start", "/shop/pay");
    site_->Page("/shop/pay", kPage);
    site_->OnPost("/shop/pay",
                  [this](const httplib::Request& request, httplib::Response& response) {
                    if (refuse_) {
                      response.status = 422;
                      return response.set_content(kPage, "text/html");
                    }
                    const bool cancel = request.body.find("decision=cancel") != std::string::npos;
                    response.set_redirect(cancel ? kReturn + "cancel" : "/done", 303);
                  });
    site_->Redirect("/done", kReturn + "success");
    site_->Redirect("/loop", "/loop");
    site_->Redirect("/file", "file:///etc/passwd");
    site_->Page("/broken", kPage, 500);
    site_->Page("/plain", "<p>Nothing \x1b[2Jto do here");
    site_->Start();
  }

  Environment With(const std::string& answer) const {
    return site_->Settings() + Environment{{"QUIRE_BROWSER_ANSWER", answer}};
  }

  Finished Browse(const std::string& address, const std::string& answer) const {
    return RunProgram({kProgram, "--paypal", "-img", "/tmp/logo.bmp", address}, With(answer));
  }

  const std::string kProgram = QUIRE_BUILD_DIR "/bin/browser-agent";
  const std::string kReturn = "http://return.test/QUIRESaltmoor?status=";
  const std::string kVisits = "http://shop.test/start\nhttp://shop.test/shop/pay\n";
  const std::string kPosted = "http://shop.test/shop/pay?step=2\n";
  std::atomic<bool> refuse_ = false;
  std::optional<TestSite> site_;
};

TEST_F(Agent, ApprovesAndFollowsEachRedirectToTheReturnAddress) {
  const Finished run = Browse("http://shop.test/start", "approve");
  EXPECT_EQ(run.out, kVisits + kPosted + "http://shop.test/done\n" + kReturn + "success\n");
  EXPECT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(site_->Posted(),
            std::vector<std::string>{
                "/shop/pay?step=2 token=a%26b%3D%C3%BC&empty=&card_number=4111%201111%201111%201111"
                "&card_cvc=123&country=DE&decision=approve session=s1"});
  for (const char* text : {"Bestellung 7", "Die Ängste 4,99 EUR", "[Pay 4,99 EUR]"}) {
    EXPECT_NE(run.err.find(text), std::string::npos) << run.err;
  }
  EXPECT_EQ(run.err.find("color"), std::string::npos) << run.err;
}

TEST_F(Agent, CancelsWithoutACard) {
  const Finished run = Browse("http://shop.test/start", "cancel");
  EXPECT_EQ(run.out, kVisits + kPosted + kReturn + "cancel\n");
  EXPECT_EQ(run.exit_code, 0) << run.err;
  ASSERT_EQ(site_->Posted().size(), 1U);
  EXPECT_NE(site_->Posted()[0].find("card_number=&card_cvc=&"), std::string::npos)
      << site_->Posted()[0];
}

TEST_F(Agent, IsClosedOrDiesWithoutAnAnswerToThePage) {
  const Finished closed = Browse("http://shop.test/start", "close");
  EXPECT_EQ(closed.out, kVisits);
  EXPECT_EQ(closed.exit_code, 0);
  const Finished crashed = Browse("http://shop.test/start", "crash");
  EXPECT_EQ(crashed.out, kVisits);
  EXPECT_EQ(crashed.exit_code, 128 + SIGSEGV);
  EXPECT_TRUE(site_->Posted().empty());
}

TEST_F(Agent, AsksOnTheTerminal) {
  Process browser({kProgram, "-wirecard", "http://shop.test/shop/pay"}, With(""),
                  Process::On::kTerminal);
  ASSERT_TRUE(browser.WaitForOutput("1 to 2, or q to close: "));
  browser.Type("9\n1\n");
  ASSERT_TRUE(browser.WaitForOutput("Card number: "));
  browser.Type("42 17\n");
  ASSERT_TRUE(browser.WaitForOutput("card_cvc: "));
  browser.Type("999\n");
  const Finished run = browser.Wait();
  EXPECT_EQ(run.exit_code, 0);
  EXPECT_NE(run.out.find("status=success"), std::string::npos) << run.out;
  ASSERT_EQ(site_->Posted().size(), 1U);
  EXPECT_NE(site_->Posted()[0].find("card_number=42%2017&card_cvc=999"), std::string::npos)
      << site_->Posted()[0];

  Process closed({kProgram, "http://shop.test/shop/pay"}, With(""), Process::On::kTerminal);
  ASSERT_TRUE(closed.WaitForOutput("or q to close: "));
  closed.Type("q\n");
  EXPECT_EQ(closed.Wait().exit_code, 0);
  EXPECT_EQ(site_->Posted().size(), 1U);
}

TEST_F(Agent, SaysInOneSentenceWhatWentWrong) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"http://shop.test/broken", "approve", "http://shop.test/broken answers 500: Zahlung"},
      {"http://shop.test/none", "approve", "http://shop.test/none answers 404"},
      {"http://shop.test/loop", "approve", "redirects again and again"},
      {"http://shop.test/plain", "approve", "leads nowhere"},
      {"http://shop.test/file", "approve", "leads to file:///etc/passwd, which is not a web address"},
      {"http://127.0.0.1:1/", "approve", "cannot load http://127.0.0.1:1/: "},
      {"http://shop.test/shop/pay", "", "set QUIRE_BROWSER_ANSWER"},
      {"http://shop.test/shop/pay", "perhaps", "QUIRE_BROWSER_ANSWER is perhaps"},
  };
  for (const auto& [address, answer, sentence] : cases) {
    const Finished run = Browse(address, answer);
    EXPECT_EQ(run.exit_code, 1) << sentence;
    EXPECT_NE(run.err.find(sentence), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("browser: "), std::string::npos) << run.err;
    EXPECT_EQ(run.err.find('\x1b'), std::string::npos) << "drives the terminal";
  }
  EXPECT_EQ(Browse("ftp://shop.test/", "approve").exit_code, 2);
  EXPECT_EQ(Browse("--paypal", "approve").exit_code, 2);
  EXPECT_TRUE(site_->Posted().empty());

  refuse_ = true;
  const Finished refused = Browse("http://shop.test/shop/pay", "approve");
  EXPECT_EQ(refused.exit_code, 1);
  EXPECT_NE(refused.err.find("asks again and again"), std::string::npos) << refused.err;
  EXPECT_EQ(site_->Posted().size(), 3U);
}

TEST_F(Agent, LoadsNothingFromAServerThatItCannotTrust) {
  const TemporaryFolder folder;
  Serve(folder.path());
  const Finished refused = Browse("https://shop.test/start", "approve");
  EXPECT_EQ(refused.exit_code, 1);
  EXPECT_NE(refused.err.find("certificate"), std::string::npos) << refused.err;
  EXPECT_EQ(site_->requests(), 0);

  const Environment trusting =
      With("approve") + Environment{{"TABULET_CA_FILE", folder / "ca.pem"}};
  EXPECT_EQ(RunProgram({kProgram, "https://shop.test/start"}, trusting).exit_code, 0);
  EXPECT_EQ(site_->requests(), 4);
}

}  // namespace
}  // namespace tests
