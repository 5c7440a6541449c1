#include "html.h"

#include "hosts.h"
#include "text.h"

namespace devshop {
namespace {

constexpr char kStyle[] = R"(
:root { --ink: #1d2733; --soft: #5b6875; --line: #d5dbe1; --shop: #23527c; --bad: #b3261e; }
* { box-sizing: border-box; }
body { margin: 0; background: #f3f5f7; color: var(--ink);
       font: 16px/1.45 system-ui, "DejaVu Sans", sans-serif; }
header { background: var(--shop); color: #fff; padding: 14px 20px; font-weight: 600; }
main { width: min(440px, 100% - 20px); margin: 12px auto; padding: 18px; background: #fff;
       border: 1px solid var(--line); border-radius: 10px; }
h1 { font-size: 1.25rem; margin: 0 0 12px; }
a { color: var(--shop); }
table { width: 100%; border-collapse: collapse; margin-bottom: 18px; font-size: .94rem; }
td { padding: 7px 0; border-bottom: 1px solid var(--line); vertical-align: top; }
td:last-child { text-align: right; white-space: nowrap; padding-left: 12px; }
tr.sum td { font-weight: 600; }
.name { display: -webkit-box; -webkit-box-orient: vertical; -webkit-line-clamp: 3;
        overflow: hidden; }
small, .soft { color: var(--soft); font-size: .86rem; }
label { display: block; margin: 12px 0 4px; font-size: .9rem; font-weight: 600; }
input { width: 100%; padding: 10px 12px; font: inherit; border: 1px solid #97a3af; }
input[aria-invalid] { border-color: var(--bad); outline: 1px solid var(--bad); }
.wrong { color: var(--bad); font-size: .86rem; margin: 4px 0 0; }
.pair { display: grid; grid-template-columns: 1fr 1fr; gap: 14px; }
button { width: 100%; padding: 12px; margin-top: 12px; font: inherit; font-weight: 600;
         border: 1px solid var(--shop); background: #fff; color: var(--shop); }
button.main { background: var(--shop); color: #fff; margin-top: 20px; }
.cover { float: right; width: 110px; margin: 0 0 10px 14px; border: 1px solid var(--line); }
)";

}  // namespace

void ServePage(Response& response, const std::string& title, const std::string& content) {
  response.SetHeader("Cache-Control", "no-store");
  response.SetHeader("Content-Security-Policy",
                     "default-src 'none'; style-src 'unsafe-inline'; img-src 'self'");
  response.SetHeader("Referrer-Policy", "no-referrer");  // a payment's address is a secret
  response.SetContent(
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<link rel=\"icon\" href=\"data:,\">\n<title>" +
          EscapeHtml(title) + " - " + EscapeHtml(kShopName) + "</title>\n<style>" + kStyle +
          "</style>\n</head>\n<body>\n"
          "<header>" +
          EscapeHtml(kShopName) + "</header>\n<main>\n" + content + "</main>\n</body>\n</html>\n",
      "text/html; charset=utf-8");
}

}  // namespace devshop
