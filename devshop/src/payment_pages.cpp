#include "payment_pages.h"

#include <ctime>

#include "card_check.h"
#include "html.h"

namespace devshop {
namespace {

/// An input of the card form, with what was typed and what is wrong with it.
struct Input {
  const char* name;
  const char* label;
  const char* autocomplete;
  const char* placeholder;
  const char* more;
};

constexpr Input kHolder{"card_holder", "Name on the card", "cc-name", "", "maxlength=\"100\""};
constexpr Input kNumber{"card_number", "Card number", "cc-number", "1234 1234 1234 1234",
                        "inputmode=\"numeric\" maxlength=\"30\""};
constexpr Input kExpiry{"card_expiry", "Valid until", "cc-exp", "MM/YY", "maxlength=\"9\""};
constexpr Input kCvc{"card_cvc", "CVC", "cc-csc", "123", "inputmode=\"numeric\" maxlength=\"4\""};

std::string InputHtml(const Input& input, const std::string& value,
                      const std::map<std::string, std::string>& wrong) {
  const std::string name = input.name;
  const auto found = wrong.find(name);
  const bool bad = found != wrong.end();
  std::string html = "<div><label for=\"" + name + "\">" + input.label + "</label>\n<input id=\"" +
                     name + "\" name=\"" + name + "\" autocomplete=\"" + input.autocomplete +
                     "\" placeholder=\"" + input.placeholder + "\" " + input.more + " value=\"" +
                     EscapeHtml(value) + "\"";
  if (bad) html += " aria-invalid=\"true\" aria-describedby=\"" + name + "_wrong\"";
  html += ">\n";
  if (bad) {
    html += "<p class=\"wrong\" id=\"" + name + "_wrong\">" + EscapeHtml(found->second) + "</p>\n";
  }
  return html + "</div>\n";
}

std::string ButtonsHtml(const std::string& amount) {
  return "<button class=\"main\" name=\"decision\" value=\"approve\">Pay " + EscapeHtml(amount) +
         "</button>\n<button name=\"decision\" value=\"cancel\">Cancel</button>\n</form>\n"
         "<p class=\"soft\">Development shop: no money moves.</p>\n";
}

std::string CardForm(const Fields& typed, const std::map<std::string, std::string>& wrong,
                     const std::string& amount) {
  return "<form method=\"post\">\n" + InputHtml(kHolder, GetField(typed, kHolder.name), wrong) +
         InputHtml(kNumber, GetField(typed, kNumber.name), wrong) + "<div class=\"pair\">\n" +
         InputHtml(kExpiry, GetField(typed, kExpiry.name), wrong) + InputHtml(kCvc, "", wrong) +
         "</div>\n" + ButtonsHtml(amount);
}

std::string WalletForm(const std::string& email, const std::string& amount) {
  return "<form method=\"post\">\n<div class=\"wallet\"><strong>Your wallet "
         "account</strong><br>\n" +
         EscapeHtml(email) + "<br>\n<small>Approve in your wallet account, and the shop gets " +
         EscapeHtml(amount) + " from it.</small></div>\n" + ButtonsHtml(amount);
}

void ServeSettled(const Order& order, Response& response) {
  const bool approved = order.payment == Order::Payment::kApproved;
  const std::string title = approved ? "Payment approved" : "Payment cancelled";
  ServePage(response, title,
            "<h1>" + title + "</h1>\n<p>Order " + EscapeHtml(order.id) +
                (approved ? " is paid." : " is not paid; nothing was charged.") +
                "</p>\n<p><a href=\"" +
                EscapeHtml(approved ? order.success_url : order.cancel_url) +
                "\">Return to the shop</a></p>\n");
}

}  // namespace

void PaymentPages::Handle(const Request& request, Response& response) {
  const std::lock_guard lock(shop_.mutex);
  Order* order = shop_.orders.FindPayment(request.path.substr(request.path.rfind('/') + 1));
  if (order == nullptr) {
    response.status = 404;
    ServePage(response, "No such payment",
              "<h1>No such payment</h1>\n<p>This payment does not exist, or was started anew. "
              "Please return to the shop's application.</p>\n");
  } else if (request.method == "POST") {
    Decide(*order, request, response);
  } else if (order->payment != Order::Payment::kOpen) {
    ServeSettled(*order, response);
  } else {
    ShowForm(*order, {}, {}, response);
  }
}

void PaymentPages::Decide(Order& order, const Request& request, Response& response) {
  const std::string decision = GetField(request.form, "decision");
  if (order.payment == Order::Payment::kOpen) {
    const bool approved = decision == "approve";
    const Wrong wrong = approved && order.pay_method == "CCARD"
                            ? CheckCard(request.form, std::time(nullptr))
                            : Wrong{};
    if ((!approved && decision != "cancel") || !wrong.empty()) {
      response.status = 422;
      return ShowForm(order, request.form, wrong, response);
    }
    order.payment = approved ? Order::Payment::kApproved : Order::Payment::kCancelled;
    shop_.Save();
  }
  const bool paid = order.payment == Order::Payment::kApproved;
  response.SetRedirect(paid ? order.success_url : order.cancel_url);
}

void PaymentPages::ShowForm(const Order& order, const Fields& typed, const Wrong& wrong,
                            Response& response) const {
  const bool by_card = order.pay_method == "CCARD";
  const std::string title = by_card ? "Pay by card" : "Pay with your wallet";
  std::string rows, currency;
  for (const auto& ean : order.eans) {
    const Title* book = shop_.catalogue().Find(ean);
    if (book == nullptr) continue;
    currency = book->currency;
    rows += "<tr><td><span class=\"name\">" + EscapeHtml(book->title) + "</span><small>" +
            EscapeHtml(book->author) + "</small></td><td>" +
            EscapeHtml(FormatPrice(book->price_cents, currency)) + "</td></tr>\n";
  }
  const std::string amount = FormatPrice(order.AmountCents(shop_.catalogue()), currency);
  ServePage(response, title,
            "<h1>" + title + "</h1>\n<p class=\"soft\">Order " + EscapeHtml(order.id) +
                "</p>\n<table>\n" + rows + "<tr class=\"sum\"><td>Total</td><td>" +
                EscapeHtml(amount) + "</td></tr>\n</table>\n" +
                (by_card ? CardForm(typed, wrong, amount) : WalletForm(order.email, amount)));
}

}  // namespace devshop
