#include "payment_pages.h"

#include <algorithm>
#include <boost/algorithm/string/trim.hpp>
#include <ctime>

#include "html.h"

namespace devshop {
namespace {

/// Removes the blanks and dashes that group digits.
std::string StripGrouping(std::string text) {
  std::erase_if(text, [](char c) { return c == ' ' || c == '-'; });
  return text;
}

bool IsDigits(const std::string& text, std::size_t least, std::size_t most) {
  return text.size() >= least && text.size() <= most &&
         text.find_first_not_of("0123456789") == std::string::npos;
}

bool PassesLuhn(const std::string& digits) {
  int sum = 0;
  bool doubled = false;
  for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit, doubled = !doubled) {
    const int value = (*digit - '0') * (doubled ? 2 : 1);
    sum += value / 10 + value % 10;
  }
  return sum % 10 == 0;
}

/// Accepts M/YY, MM/YY and a year of four digits, with blanks around each part.
std::string CheckExpiry(const std::string& text, std::time_t now) {
  const std::string mistake = "Enter month and year as MM/YY.";
  const auto slash = text.find('/');
  if (slash == std::string::npos) return mistake;
  std::string month = boost::algorithm::trim_copy(text.substr(0, slash));
  std::string year = boost::algorithm::trim_copy(text.substr(slash + 1));
  if (month.size() == 1) month.insert(0, "0");
  if (year.size() == 2) year.insert(0, "20");
  if (!IsDigits(month, 2, 2) || month < "01" || month > "12" || !IsDigits(year, 4, 4) ||
      !year.starts_with("20")) {
    return mistake;
  }
  // A card is good to the end of its month.
  return year + month < FormatTime(now, "%Y%m") ? "This card has expired." : "";
}

/// The mistakes in the card form by field name; empty when the card is accepted.
std::map<std::string, std::string> CheckCard(const Fields& form) {
  std::map<std::string, std::string> wrong;
  const auto number = StripGrouping(GetField(form, "card_number"));
  if (GetField(form, "card_holder").find_first_not_of(' ') == std::string::npos) {
    wrong["card_holder"] = "Enter the name on the card.";
  }
  if (!IsDigits(number, 12, 19)) {
    wrong["card_number"] = "Enter the 12 to 19 digits of the card number.";
  } else if (!PassesLuhn(number)) {
    wrong["card_number"] = "This is not a card number; please check the digits.";
  }
  if (const auto expiry = CheckExpiry(GetField(form, "card_expiry"), std::time(nullptr));
      !expiry.empty()) {
    wrong["card_expiry"] = expiry;
  }
  if (!IsDigits(GetField(form, "card_cvc"), 3, 4)) wrong["card_cvc"] = "Enter the 3 or 4 digits.";
  return wrong;
}

/// An input of the card form.
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
  return "<form method=\"post\">\n<div><strong>Your wallet "
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
              "<h1>No such payment</h1>\n<p>This payment does not exist, or was started again. "
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
    const Wrong wrong = approved && order.pay_method == "CCARD" ? CheckCard(request.form) : Wrong{};
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
