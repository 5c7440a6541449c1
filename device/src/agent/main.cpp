// A browser for payment pages that needs no display: shows a page's text and buttons on the
// terminal, and prints each URL on standard output before it loads it.

#include <sys/time.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "../text.h"
#include "../util.h"
#include "http_client.h"
#include "user_interface.h"

namespace {

// Part of every URL that a payment returns to. The caller watches for it, and the page itself is
// not loaded.
constexpr char kReturnMarker[] = "QUIRESaltmoor";
constexpr int kMaxRedirects = 20;

agent::Request FollowRedirect(const agent::Request& request, const agent::Response& response) {
  if (response.status != 307 && response.status != 308) return {*response.location, false, ""};
  if (request.post && request.url.is_encrypted() && !response.location->is_encrypted()) {
    throw std::runtime_error(request.url.text() + " would send the form on unencrypted");
  }
  return {*response.location, request.post, request.body};
}

/// Ends the browser if a page takes more processor time than this during the object's life: the
/// parser's time grows with the square of a tag's attributes.
class PageTimeLimit {
 public:
  PageTimeLimit() {
    std::signal(SIGPROF, [](int) {
      constexpr std::string_view kMessage = "browser: the page takes too long to read\n";
      [[maybe_unused]] const ssize_t size = write(STDERR_FILENO, kMessage.data(), kMessage.size());
      _exit(1);
    });
    Set({1, 500'000});
  }
  ~PageTimeLimit() { Set({0, 0}); }
  PageTimeLimit(const PageTimeLimit&) = delete;
  PageTimeLimit& operator=(const PageTimeLimit&) = delete;

 private:
  static void Set(timeval time) {
    const itimerval timer = {{0, 0}, time};
    setitimer(ITIMER_PROF, &timer, nullptr);
  }
};

agent::Page ParseResponse(const agent::Request& request, const agent::Response& response) {
  const PageTimeLimit limit;
  agent::Page page = agent::ParsePage(response.body, response.charset);
  // A form that was filled in wrongly may come back with a status of the 400 range.
  const bool readable = response.status < 500 && (response.status < 400 || page.form);
  if (!readable) {
    throw std::runtime_error(request.url.text() + " answers " + std::to_string(response.status) +
                             (page.title.empty() ? "" : ": " + page.title));
  }
  if (page.lines.empty() && !page.form)
    throw std::runtime_error(request.url.text() + " is not a page");
  return page;
}

/// Returns when the payment has returned to the caller, or the user closes the browser.
void Browse(const agent::Url& url) {
  agent::UserInterface user_interface;
  agent::HttpClient client;
  agent::Request request{url, false, ""};
  for (int redirects = 0; redirects <= kMaxRedirects;) {
    std::cout << request.url.text() << std::endl;
    if (request.url.text().find(kReturnMarker) != std::string::npos) return;
    const agent::Response response = client.Send(request);
    if (response.location) {
      request = FollowRedirect(request, response);
      ++redirects;
      continue;
    }
    redirects = 0;
    agent::Page page = ParseResponse(request, response);
    user_interface.Show(page);
    if (!page.form) {
      throw std::runtime_error(request.url.text() + " shows a page that leads nowhere" +
                               (page.title.empty() ? "" : ": " + page.title));
    }
    const std::optional<agent::Button> button = user_interface.CompleteForm(&*page.form);
    if (!button) return;
    request = client.BuildSubmission(request.url, *page.form, *button);
  }
  throw std::runtime_error(request.url.text() + " redirects again and again");
}

}  // namespace

int main(int argc, char** argv) {
  if (PrintVersion(argc, argv, "browser-agent " QUIRE_VERSION)) return 0;
  // The options before the URL choose a window's title and logo, which a terminal lacks.
  const auto url = agent::Url::Parse(argc < 2 ? "" : argv[argc - 1]);
  if (!url) {
    std::cerr << "browser: the last argument must be an http or https URL\n"
                 "usage: browser-agent [--paypal] [-wirecard] [-img FILE] URL | --version\n";
    return 2;
  }
  ProtectSecrets();
  curl_global_init(CURL_GLOBAL_DEFAULT);
  try {
    Browse(*url);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "browser: " << MakePrintable(error.what()) << std::endl;
    return 1;
  }
}
