#include "shop_site.h"

#include "hosts.h"
#include "html.h"
#include "money.h"
#include "payment_pages.h"
#include "store_api.h"
#include "url_encoding.h"

namespace devshop {
namespace {

void ServeHome(const Catalogue& catalogue, Response& response) {
  std::string rows;
  for (const Title& title : catalogue.titles()) {
    rows += "<p><a href=\"" + kProductPath + PercentEncode(title.ean) + "\">" +
            EscapeHtml(title.title) + "</a></p>\n";
  }
  ServePage(response, "E-books", rows);
}

void ServeProduct(const Title& title, Response& response) {
  ServePage(response, title.title,
            "<p>" + EscapeHtml(title.author) + "</p>\n<p>" + EscapeHtml(title.summary) +
                "</p>\n<p>" + EscapeHtml(FormatPrice(title.price_hundredths, title.currency)) +
                (title.out_of_sale ? ", no longer for sale" : "") + "</p>\n");
}

}  // namespace

void ServeShop(Shop& shop, FileServer& files, const OpdsSite& opds, const Request& request,
               Response& response) {
  const std::string& path = request.path;
  if (path.starts_with(kApiPath + "/")) return ServeStoreApi(shop, request, response);
  if (path.starts_with(kPaymentPath)) return ServePayment(shop, request, response);
  if (request.method != "GET" && request.method != "HEAD") return ServeNotFound(response);
  if (path.starts_with(kFilesPath)) return files.ServeBook(request, response);
  if (path.starts_with(kCoversPath)) return files.ServeCover(request, response);
  if (path.starts_with(kOpdsPath)) return opds.Serve(request, response);
  if (path == kReturnPath) return ServeReturnPage(response);
  if (path == "/") return ServeHome(shop.catalogue(), response);
  for (const LegalPage& page : kLegalPages) {
    if (path != page.path) continue;
    return ServePage(response, page.title,
                     "<p>This shop is for development: it sells nothing and takes no money.</p>\n");
  }
  const Title* title = path.starts_with(kProductPath)
                           ? shop.catalogue().Find(path.substr(kProductPath.size()))
                           : nullptr;
  return title != nullptr ? ServeProduct(*title, response) : ServeNotFound(response);
}

void ServeReturnPage(Response& response) {
  ServePage(response, "Back to the shop", "<p>You can close this window.</p>\n");
}

void ServeNotFound(Response& response) {
  response.status = 404;
  ServePage(response, "Not found", "<p>There is nothing at this address.</p>\n");
}

}  // namespace devshop
