#include "shop_site.h"

#include <algorithm>

#include "hosts.h"
#include "html.h"
#include "legal_pages.h"
#include "opds_feed.h"

namespace devshop {
namespace {

const std::string kProductPath = kStorePath + "/product/";

bool starts_with(const std::string& path, const std::string& start) {
  return path.rfind(start, 0) == 0;
}

std::string price(const Title& title) {
  return html_escape(price_text(title.price_cents, title.currency));
}

}  // namespace

void ShopSite::answer(const Request& request, Response& response) {
  const std::string& path = request.path;
  if (starts_with(path, kApiPath + "/")) return api_.answer(request, response);
  if (starts_with(path, "/payment/")) return payments_.answer(request, response);
  if (request.method != "GET" && request.method != "HEAD") return answer_not_found(response);
  if (starts_with(path, "/files/")) return files_.answer_book(request, response);
  if (starts_with(path, "/covers/")) return files_.answer_cover(request, response);
  if (path == kStartPath) return answer_feed(shop_.catalogue(), request, response);
  if (path == kStorePath + "/opds/search.xml") return answer_search_description(response);
  if (path == kReturnPath) return answer_return_page(response);
  if (path == "/") return answer_home(response);
  for (const LegalPage& page : kLegalPages) {
    if (path != page.path()) continue;
    const std::string content =
        "<h1>" + std::string(page.title) + "</h1>\n<p>" + page.text + "</p>\n";
    return answer_page(response, page.title, content);
  }
  const Title* title = starts_with(path, kProductPath)
                           ? shop_.catalogue().find(path.substr(kProductPath.size()))
                           : nullptr;
  return title != nullptr ? answer_product(*title, response) : answer_not_found(response);
}

void ShopSite::answer_home(Response& response) const {
  std::string rows;
  for (const Title& title : shop_.catalogue().titles()) {
    rows += "<tr><td><a href=\"" + kProductPath + percent_encode(title.ean) + "\">" +
            html_escape(title.title) + "</a><br><small>" + html_escape(title.author) +
            "</small></td><td>" + price(title) + "</td></tr>\n";
  }
  std::string legal;
  for (const LegalPage& page : kLegalPages) {
    legal += (legal.empty() ? "" : " &middot; ") + ("<a href=\"" + page.path() + "\">") +
             page.title + "</a>";
  }
  answer_page(
      response, "E-books",
      "<h1>E-books</h1>\n<table>\n" + rows + "</table>\n<p class=\"soft\">" + legal + "</p>\n");
}

void ShopSite::answer_product(const Title& title, Response& response) const {
  const std::string cover = title.cover.empty() ? ""
                                                : "<img class=\"cover\" alt=\"\" src=\"/covers/" +
                                                      percent_encode(title.ean) + "\">\n";
  answer_page(response, title.title,
              cover + "<h1>" + html_escape(title.title) + "</h1>\n<p class=\"soft\">" +
                  html_escape(title.author) + "</p>\n<p>" + html_escape(title.summary) +
                  "</p>\n<p><strong>" + price(title) + "</strong>" +
                  (title.out_of_sale ? " <small>no longer for sale</small>" : "") +
                  "<br>\n<small>EAN " + html_escape(title.ean) + "</small></p>\n");
}

void answer_return_page(Response& response) {
  answer_page(response, "Back to the shop",
              "<h1>Back to the shop</h1>\n<p>You can close this window.</p>\n");
}

void answer_not_found(Response& response) {
  response.status = 404;
  answer_page(response, "Not found",
              "<h1>Not found</h1>\n<p>There is nothing at this address.</p>\n");
}

}  // namespace devshop
