// A browser for payment pages that needs no display: shows a page's text and buttons on the
// terminal, and prints each address that it goes to on standard output, before it loads it.

#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>

#include "http_client.h"
#include "user.h"

namespace {

// In every address that a payment returns to. Whoever runs us watches for it, and the page there
// has nothing to show.
constexpr char kReturnMark[] = "QUIRESaltmoor";
constexpr int kMaxRedirects = 20;

bool IsRedirect(long status) {
  return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

agent::Visit Follow(const agent::Visit& visit, const agent::Answer& answer) {
  if (answer.status != 307 && answer.status != 308) return {answer.location, false, ""};
  if (visit.post && visit.address.starts_with("https:") && !answer.location.starts_with("https:")) {
    throw agent::VisitError(visit.address + " would send the form on in the clear");
  }
  return {answer.location, visit.post, visit.body};
}

/// One page of text, or the error that the server gives.
agent::Page Read(const agent::Visit& visit, const agent::Answer& answer) {
  agent::Page page = agent::ParsePage(answer.body, answer.charset);
  // A form that comes back with a mark at what is wrong in it is none of the server's errors.
  const bool readable = answer.status < 500 && (answer.status < 400 || page.form);
  if (!readable) {
    throw agent::VisitError(visit.address + " answers " + std::to_string(answer.status) +
                            (page.title.empty() ? "" : ": " + page.title));
  }
  if (page.lines.empty() && !page.form) throw agent::VisitError(visit.address + " is no page");
  return page;
}

/// \return when the payment has returned to whoever started it, or the user closes the browser.
void Browse(const std::string& address) {
  agent::User user;
  agent::HttpClient client;
  agent::Visit visit{address, false, ""};
  for (int redirects = 0; redirects <= kMaxRedirects;) {
    std::cout << visit.address << std::endl;
    if (visit.address.find(kReturnMark) != std::string::npos) return;
    const agent::Answer answer = client.Perform(visit);
    if (IsRedirect(answer.status) && !answer.location.empty()) {
      visit = Follow(visit, answer);
      ++redirects;
      continue;
    }
    redirects = 0;
    agent::Page page = Read(visit, answer);
    user.Show(page);
    if (!page.form) {
      throw agent::VisitError(visit.address + " shows a page that leads nowhere" +
                              (page.title.empty() ? "" : ": " + page.title));
    }
    const std::optional<agent::Button> button = user.Answer(&*page.form);
    if (!button) return;
    visit = client.Submit(visit.address, *page.form, *button);
  }
  throw agent::VisitError(visit.address + " redirects again and again");
}

}  // namespace

int main(int argc, char** argv) {
  // The switches before the address choose a window's title and logo, which a terminal lacks.
  const std::string address = argc < 2 ? "" : agent::Resolve(argv[argc - 1], "");
  if (address.empty()) {
    std::cerr << "browser: the last argument must be an http or https address\n"
                 "usage: browser-agent [--paypal] [-wirecard] [-img FILE] ADDRESS\n";
    return 2;
  }
  curl_global_init(CURL_GLOBAL_DEFAULT);
  try {
    Browse(argv[argc - 1]);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "browser: " << error.what() << std::endl;
    return 1;
  }
}
