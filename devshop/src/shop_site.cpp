#include "shop_site.h"

#include <algorithm>

#include "hosts.h"
#include "html.h"
#include "legal_pages.h"
#include "opds_feed.h"

namespace devshop {
namespace {

const std::string kProductPath = kStorePath + "/product/";

bool StartsWith(const std::string& path, const std::string& start) {
  return path.rfind(start, 0) == 0;
}

std::string PriceHtml(const Title& title) {
  return EscapeHtml(FormatPrice(title.price_cents, title.currency));
}

}  // namespace

void ShopSite::Handle(const Request& request, Response& response) {
  const std::string& path = request.path;
  if (StartsWith(path, kApiPath + "/")) return api_.Handle(request, response);
  if (StartsWith(path, "/payment/")) return payments_.Handle(request, response);
  if (request.method != "GET" && request.method != "HEAD") return ServeNotFound(response);
  if (StartsWith(path, "/files/")) return files_.ServeBook(request, response);
  if (StartsWith(path, "/covers/")) return files_.ServeCover(request, response);
  if (path == kStartPath) return ServeFeed(shop_.catalogue(), request, response);
  if (path == kStorePath + "/opds/search.xml") return ServeSearchDescription(response);
  if (path == kReturnPath) return ServeReturnPage(response);
  if (path == "/") return ServeHome(response);
  for (const LegalPage& page : kLegalPages) {
    if (path != page.Path()) continue;
    const std::string content =
        "<h1>" + std::string(page.title) + "</h1>\n<p>" + page.text + "</p>\n";
    return ServePage(response, page.title, content);
  }
  const Title* title = StartsWith(path, kProductPath)
                           ? shop_.catalogue().Find(path.substr(kProductPath.size()))
                           : nullptr;
  return title != nullptr ? ServeProduct(*title, response) : ServeNotFound(response);
}

void ShopSite::ServeHome(Response& response) const {
  std::string rows;
  for (const Title& title : shop_.catalogue().titles()) {
    rows += "<tr><td><a href=\"" + kProductPath + PercentEncode(title.ean) + "\">" +
            EscapeHtml(title.title) + "</a><br><small>" + EscapeHtml(title.author) +
            "</small></td><td>" + PriceHtml(title) + "</td></tr>\n";
  }
  std::string legal;
  for (const LegalPage& page : kLegalPages) {
    legal += (legal.empty() ? "" : " &middot; ") + ("<a href=\"" + page.Path() + "\">") +
             page.title + "</a>";
  }
  ServePage(
      response, "E-books",
      "<h1>E-books</h1>\n<table>\n" + rows + "</table>\n<p class=\"soft\">" + legal + "</p>\n");
}

void ShopSite::ServeProduct(const Title& title, Response& response) const {
  const std::string cover = title.cover.empty() ? ""
                                                : "<img class=\"cover\" alt=\"\" src=\"/covers/" +
                                                      PercentEncode(title.ean) + "\">\n";
  ServePage(response, title.title,
            cover + "<h1>" + EscapeHtml(title.title) + "</h1>\n<p class=\"soft\">" +
                EscapeHtml(title.author) + "</p>\n<p>" + EscapeHtml(title.summary) +
                "</p>\n<p><strong>" + PriceHtml(title) + "</strong>" +
                (title.out_of_sale ? " <small>no longer for sale</small>" : "") +
                "<br>\n<small>EAN " + EscapeHtml(title.ean) + "</small></p>\n");
}

void ServeReturnPage(Response& response) {
  ServePage(response, "Back to the shop",
            "<h1>Back to the shop</h1>\n<p>You can close this window.</p>\n");
}

void ServeNotFound(Response& response) {
  response.status = 404;
  ServePage(response, "Not found",
            "<h1>Not found</h1>\n<p>There is nothing at this address.</p>\n");
}

}  // namespace devshop
