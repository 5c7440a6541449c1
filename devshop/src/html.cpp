#include "html.h"

#include <boost/algorithm/string/replace.hpp>

#include "hosts.h"

namespace devshop {
namespace {

constexpr char kStyle[] = R"(
body { max-width: 440px; margin: 12px auto; padding: 0 12px; font: 16px/1.45 sans-serif; }
h1 { font-size: 1.25rem; }
table, input, button { width: 100%; }
td { padding: 7px 0; border-bottom: 1px solid #d5dbe1; vertical-align: top; }
.sum { font-weight: 600; }
td:last-child { text-align: right; white-space: nowrap; padding-left: 12px; }
small { display: block; color: #5b6875; }
label { display: block; margin-top: 12px; font-weight: 600; }
input, button { box-sizing: border-box; padding: 10px; font: inherit; }
button { margin-top: 12px; }
button.main { background: #23527c; color: #fff; }
input[aria-invalid] { border: 2px solid #b3261e; }
:focus-visible { outline: 3px solid #23527c; outline-offset: 2px; }
.error { color: #b3261e; margin: 4px 0 0; }
)";

}  // namespace

std::string EscapeHtml(std::string_view text) {
  std::string escaped(text);
  boost::algorithm::replace_all(escaped, "&", "&amp;");
  boost::algorithm::replace_all(escaped, "<", "&lt;");
  boost::algorithm::replace_all(escaped, ">", "&gt;");
  boost::algorithm::replace_all(escaped, "\"", "&quot;");
  boost::algorithm::replace_all(escaped, "'", "&#39;");
  return escaped;
}

void ServePage(Response& response, const std::string& title, const std::string& content) {
  const std::string name = EscapeHtml(title);
  response.SetHeader("Cache-Control", "no-store");
  response.SetHeader("Content-Security-Policy",
                     "default-src 'none'; style-src 'unsafe-inline'; img-src 'self'");
  response.SetHeader("Referrer-Policy", "no-referrer");  // a payment's address is a secret
  response.SetContent(
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<link rel=\"icon\" href=\"data:,\">\n<title>" +
          name + " - " + kShopName + "</title>\n<style>" + kStyle +
          "</style>\n</head>\n<body>\n<header><p>" + kShopName + "</p></header>\n<main>\n<h1>" +
          name + "</h1>\n" + content + "</main>\n</body>\n</html>\n",
      "text/html; charset=utf-8");
}

}  // namespace devshop
