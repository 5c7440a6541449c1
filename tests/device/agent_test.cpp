#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <optional>

#include "device/test_site.h"
#include "support/files.h"

namespace fs = std::filesystem;

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

/// What a terminal may obey or misread: an escape, a control sequence of one character, an override
/// of the writing direction, invalid UTF-8.
constexpr const char* kControls[] = {"\x1b", "\xC2\x9B", "\xE2\x80\xAE", "\xFF"};

void ExpectNoControls(const std::string& shown) {
  for (const char* control : kControls) EXPECT_EQ(shown.find(control), std::string::npos) << shown;
}

/// A shop's payment pages, which the browser reaches at http://shop.test.
class BrowserAgent : public testing::Test {
 protected:
  void SetUp() override { Serve(""); }

  void Serve(const std::string& directory) {
    site_.emplace(directory);
    site_->AddRedirect("/start", "/shop/pay");
    site_->AddPage("/shop/pay", kPage);
    site_->AddPostHandler(
        "/shop/pay", [this](const httplib::Request& request, httplib::Response& response) {
          if (refuse_) {
            response.status = 422;
            return response.set_content(kPage, "text/html");
          }
          const bool cancel = request.body.find("decision=cancel") != std::string::npos;
          response.set_redirect(cancel ? kReturnUrl + "cancel" : "/done", 303);
        });
    site_->AddRedirect("/done", kReturnUrl + "success");
    site_->AddRedirect("/loop", "/loop");
    site_->AddRedirect("/file", "file:///etc/passwd");
    const std::string controls =
        std::string(kControls[0]) + "[2J" + kControls[1] + kControls[2] + kControls[3];
    site_->AddRedirect("/elsewhere", "ftp://shop.test/\xC2\x9B\xE2\x80\xAE\xFF");
    site_->AddRedirect("/encoded", "http://%1bc/");
    site_->AddPage("/broken", kPage, 500);
    site_->AddPage("/plain", "<p>Nothing " + controls + "to do here");
    site_->AddPage("/controls", "<p>Text" + controls + "<form action='ftp://shop.test/" + controls +
                                    "'><input name=field value='value" + controls +
                                    "'><button>Button" + controls);
    std::string attributes;
    for (int i = 0; i < 100'000; ++i) attributes += " a" + std::to_string(i);
    site_->AddPage("/attributes", "<p" + attributes + ">");
    site_->AddPage("/large", std::string(10 << 20, 'x'));
    for (const std::string scheme : {"http", "HTTP"}) {
      site_->AddPage("/downgrade/" + scheme,
                     "<form method=post action=" + scheme + "://shop.test/shop/pay><button>Pay");
      site_->AddPage("/sent/on/" + scheme,
                     "<form method=post action=HTTPS://shop.test/to/" + scheme + "><button>Pay");
      site_->AddPostHandler("/to/" + scheme, [=](const auto&, httplib::Response& response) {
        response.set_redirect(scheme + "://shop.test/shop/pay", 307);
      });
    }
    site_->Start();
  }

  Environment EnvironmentFor(const std::string& answer) const {
    return site_->environment() + Environment{{"QUIRE_BROWSER_ANSWER", answer}};
  }

  ProcessResult Browse(const std::string& url, const std::string& answer) const {
    return RunProgram({kProgram, "--paypal", "-img", "/tmp/logo.bmp", url}, EnvironmentFor(answer));
  }

  const std::string kProgram = QUIRE_BUILD_DIR "/bin/browser-agent";
  const std::string kReturnUrl = "http://return.test/QUIRESaltmoor?status=";
  std::atomic<bool> refuse_ = false;
  std::optional<TestSite> site_;
};

TEST_F(BrowserAgent, FollowsScriptedAnswer) {
  const std::string before = "http://shop.test/start\nhttp://shop.test/shop/pay\n";
  const std::string after = before + "http://shop.test/shop/pay?step=2\n";
  const std::string post = "/shop/pay?step=2 token=a%26b%3D%C3%BC&empty=&card_number=";
  const std::tuple<const char*, int, std::string, std::vector<std::string>> cases[] = {
      {"close", 0, before, {}},
      {"crash", 128 + SIGSEGV, before, {}},
      {"cancel",
       0,
       after + kReturnUrl + "cancel\n",
       {post + "&card_cvc=&country=DE&decision=cancel session=s1"}},
      {"approve",
       0,
       after + "http://shop.test/done\n" + kReturnUrl + "success\n",
       {post + "4111%201111%201111%201111&card_cvc=123&country=DE&decision=approve session=s1"}},
  };
  for (const auto& [answer, exit_code, urls, posts] : cases) {
    Serve("");
    const ProcessResult run = Browse("http://shop.test/start", answer);
    EXPECT_EQ(run.exit_code, exit_code) << answer << run.err;
    EXPECT_EQ(run.out, urls) << answer;
    EXPECT_EQ(site_->posts(), posts) << answer;
    for (const char* text : {"Bestellung 7", "Die Ängste 4,99 EUR"}) {
      EXPECT_NE(run.err.find(text), std::string::npos) << run.err;
    }
    EXPECT_EQ(run.err.find("color"), std::string::npos) << run.err;
    EXPECT_EQ(run.err.find("[Pay 4,99 EUR]") != std::string::npos,
              answer == std::string("approve"));
  }
}

TEST_F(BrowserAgent, AsksOnTerminal) {
  Process browser({kProgram, "-wirecard", "http://shop.test/shop/pay"}, EnvironmentFor(""),
                  Process::On::kTerminal);
  ASSERT_TRUE(browser.WaitForOutput("1 to 2, or q to close: "));
  browser.Type("9\n1\n");
  ASSERT_TRUE(browser.WaitForOutput("Card number: "));
  browser.Type("42 17\n");
  ASSERT_TRUE(browser.WaitForOutput("card_cvc: "));
  browser.Type("999\n");
  const ProcessResult run = browser.Wait();
  EXPECT_EQ(run.exit_code, 0);
  EXPECT_NE(run.out.find("status=success"), std::string::npos) << run.out;
  ASSERT_EQ(site_->posts().size(), 1U);
  EXPECT_NE(site_->posts()[0].find("card_number=42%2017&card_cvc=999"), std::string::npos)
      << site_->posts()[0];

  Process controls({kProgram, "http://shop.test/controls"}, EnvironmentFor(""),
                   Process::On::kTerminal);
  ASSERT_TRUE(controls.WaitForOutput("or q to close: "));
  controls.Type("1\n");
  ASSERT_TRUE(controls.WaitForOutput("field [value"));
  controls.Type("\n");
  const std::string shown = controls.Wait().out;
  EXPECT_NE(shown.find("the page's form goes to ftp:"), std::string::npos) << shown;
  ExpectNoControls(shown);

  Process closed({kProgram, "http://shop.test/shop/pay"}, EnvironmentFor(""),
                 Process::On::kTerminal);
  ASSERT_TRUE(closed.WaitForOutput("or q to close: "));
  closed.Type("q\n");
  EXPECT_EQ(closed.Wait().exit_code, 0);
  EXPECT_EQ(site_->posts().size(), 1U);
}

TEST_F(BrowserAgent, ReportsFailureInOneSentence) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"http://shop.test/broken", "approve", "http://shop.test/broken answers 500: Zahlung"},
      {"http://shop.test/none", "approve", "http://shop.test/none answers 404"},
      {"http://shop.test/loop", "approve", "redirects again and again"},
      {"http://shop.test/plain", "approve", "leads nowhere"},
      {"http://shop.test/file", "approve",
       "leads to file:///etc/passwd, which is not a web address"},
      {"http://shop.test/elsewhere", "approve", "http://shop.test/elsewhere leads to ftp://shop."},
      {"http://shop.test/encoded", "approve", "http://shop.test/encoded leads to http://%1bc/, "},
      {"http://shop.test/controls", "approve", "the page's form goes to ftp://shop.test/"},
      {"http://shop.test/attributes", "approve", "the page takes too long to read"},
      {"http://shop.test/large", "approve", "http://shop.test/large answers with more than a page"},
      {"http://127.0.0.1:1/", "approve", "cannot load http://127.0.0.1:1/: "},
      {"http://shop.test/shop/pay", "", "set QUIRE_BROWSER_ANSWER"},
      {"http://shop.test/shop/pay", "perhaps", "QUIRE_BROWSER_ANSWER is perhaps"},
  };
  for (const auto& [url, answer, sentence] : cases) {
    const ProcessResult run = Browse(url, answer);
    EXPECT_EQ(run.exit_code, 1) << sentence;
    EXPECT_NE(run.err.find(sentence), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("browser: "), std::string::npos) << run.err;
    ExpectNoControls(run.err);
  }
  EXPECT_TRUE(site_->posts().empty());

  refuse_ = true;
  const ProcessResult refused = Browse("http://shop.test/shop/pay", "approve");
  EXPECT_EQ(refused.exit_code, 1);
  EXPECT_NE(refused.err.find("the page showed more than 3 forms"), std::string::npos)
      << refused.err;
  EXPECT_EQ(site_->posts().size(), 3U);
}

TEST_F(BrowserAgent, RefusesUntrustedServerAndUnencryptedForm) {
  const TemporaryDirectory directory;
  Serve(directory.path());
  const ProcessResult refused = Browse("https://shop.test/start", "approve");
  EXPECT_EQ(refused.exit_code, 1);
  EXPECT_NE(refused.err.find("certificate"), std::string::npos) << refused.err;
  EXPECT_EQ(site_->requests(), 0);

  const Environment trusting =
      EnvironmentFor("approve") +
      Environment{{"TABULET_CA_FILE", directory / "ca.pem"}, {"SSLKEYLOGFILE", directory / "keys"}};
  EXPECT_EQ(RunProgram({kProgram, "https://shop.test/start"}, trusting).exit_code, 0);
  EXPECT_FALSE(Exists(directory / "keys"));
  EXPECT_EQ(site_->requests(), 4);

  for (const std::string scheme : {"http", "HTTP"}) {
    for (const std::string path : {"downgrade/", "sent/on/"}) {
      const ProcessResult downgrade =
          RunProgram({kProgram, "HTTPS://shop.test/" + path + scheme}, trusting);
      EXPECT_EQ(downgrade.exit_code, 1);
      EXPECT_NE(downgrade.err.find("unencrypted"), std::string::npos) << downgrade.err;
    }
  }
  EXPECT_EQ(site_->requests(), 4 + 6);
}

/// On the host, where no launcher traces it.
TEST_F(BrowserAgent, KeepsMemoryFromOtherPrograms) {
  const TemporaryDirectory directory;
  fs::permissions(directory.path(), fs::perms::all);
  const std::string program = directory / "browser-agent";
  fs::copy_file(kProgram, program);
  Command command{"bash", "-c", "ulimit -c unlimited; echo $$; exec \"$@\"", "0"};
  if (geteuid() == 0) {  // root owns all processes that are not to be read
    command = command + Command{"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
  }
  Process browser(command + Command{program, "http://shop.test/shop/pay"}, EnvironmentFor(""),
                  Process::On::kTerminal);
  ASSERT_TRUE(browser.WaitForOutput("or q to close: "));
  const std::string process = "/proc/" + std::to_string(std::stoi(browser.out()));
  struct stat status;
  ASSERT_EQ(stat((process + "/mem").c_str(), &status), 0);
#ifndef __SANITIZE_ADDRESS__  // the leak sanitizer must read the memory
  EXPECT_EQ(status.st_uid, 0U);
#endif
  const std::string limits = ReadFile(process + "/limits");
  EXPECT_NE(limits.find("Max core file size        0 "), std::string::npos) << limits;
}

}  // namespace
}  // namespace tests
