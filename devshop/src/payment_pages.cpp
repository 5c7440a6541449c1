#include "payment_pages.h"

#include <algorithm>
#include <ctime>
#include <map>
#include <regex>
#include <string>

#include "html.h"
#include "money.h"
#include "timestamp.h"
#include "url_encoding.h"

namespace devshop {
namespace {

using FieldErrors = std::map<std::string, std::string>;  // messages by field name

constexpr std::size_t kMaxExpiry_characters = 40;

/// Removes the blanks and dashes that group digits.
std::string StripGrouping(std::string text) {
  std::erase_if(text, [](char c) { return c == ' ' || c == '-'; });
  return text;
}

bool IsDigits(const std::string& text, std::size_t min, std::size_t max) {
  return text.size() >= min && text.size() <= max &&
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

/// The error in `M/YY`, `MM/YY` or with a year of four digits, with blanks allowed around each
/// part; empty when there is none.
std::string CheckExpiry(const std::string& text) {
  static const std::regex pattern(R"(\s*(0?[1-9]|1[0-2])\s*/\s*(?:20)?([0-9]{2})\s*)");
  std::smatch parts;
  if (text.size() > kMaxExpiry_characters || !std::regex_match(text, parts, pattern)) {
    return "Enter month and year as MM/YY.";
  }
  const std::string month = parts[1].length() == 1 ? "0" + parts[1].str() : parts[1].str();
  // A card is good to the end of its month.
  const bool expired = "20" + parts[2].str() + month < FormatTime(std::time(nullptr), "%Y%m");
  return expired ? "This card has expired." : "";
}

FieldErrors CheckCard(const Fields& form) {
  FieldErrors errors;
  const auto number = StripGrouping(GetField(form, "card_number"));
  if (GetField(form, "card_holder").find_first_not_of(' ') == std::string::npos) {
    errors["card_holder"] = "Enter the name on the card.";
  }
  if (!IsDigits(number, 12, 19)) {
    errors["card_number"] = "Enter the 12 to 19 digits of the card number.";
  } else if (!PassesLuhn(number)) {
    errors["card_number"] = "This is not a card number; please check the digits.";
  }
  const auto expiry = CheckExpiry(GetField(form, "card_expiry"));
  if (!expiry.empty()) errors["card_expiry"] = expiry;
  if (!IsDigits(GetField(form, "card_cvc"), 3, 4)) errors["card_cvc"] = "Enter the 3 or 4 digits.";
  return errors;
}

/// An input of the card form.
struct Input {
  std::string name;
  const char* label;
  const char* attributes;
};

const Input kInputs[] = {
    {"card_holder", "Name on the card", R"(autocomplete="cc-name" maxlength="100")"},
    {"card_number", "Card number",
     R"(autocomplete="cc-number" inputmode="numeric" maxlength="30")"},
    {"card_expiry", "Valid until", R"(autocomplete="cc-exp" placeholder="MM/YY" maxlength="9")"},
    {"card_cvc", "CVC", R"(autocomplete="cc-csc" inputmode="numeric" maxlength="4")"}};

std::string InputHtml(const Input& input, const Fields& typed, const FieldErrors& errors,
                      bool focused) {
  const auto& name = input.name;
  const auto found = errors.find(name);
  const std::string value = name == "card_cvc" ? "" : EscapeHtml(GetField(typed, name));
  std::string html = "<label for=\"" + name + "\">" + input.label + "</label>\n<input id=\"" +
                     name + "\" name=\"" + name + "\" value=\"" + value + "\" " + input.attributes +
                     (focused ? " autofocus" : "");
  if (found == errors.end()) return html + ">\n";
  return html + " aria-invalid=\"true\" aria-describedby=\"" + name +
         "_error\">\n<p class=\"error\" id=\"" + name + "_error\">" + found->second + "</p>\n";
}

/// The name of the first input with an error, or of the first one if there is none.
std::string FindFirstInvalid(const FieldErrors& errors) {
  const auto found = std::find_if(std::begin(kInputs), std::end(kInputs), [&](const Input& input) {
    return errors.count(input.name) != 0;
  });
  return found != std::end(kInputs) ? found->name : kInputs[0].name;
}

void ServeSettled(const Order& order, Response& response) {
  const bool approved = order.payment == Order::Payment::kApproved;
  ServePage(
      response, approved ? "Payment approved" : "Payment cancelled",
      "<p>Order " + order.id + (approved ? " is paid." : " is not paid; nothing was charged.") +
          "</p>\n<p><a href=\"" + EscapeHtml(approved ? order.success_url : order.cancel_url) +
          "\">Return to the shop</a></p>\n");
}

void ServeForm(const Catalogue& catalogue, const Order& order, const Fields& typed,
               const FieldErrors& errors, Response& response) {
  const bool by_card = order.pay_method == "CCARD";
  std::string rows, currency, inputs;
  for (const auto& ean : order.eans) {
    const Title* book = catalogue.Find(ean);
    if (book == nullptr) continue;
    currency = book->currency;
    rows += "<tr><td>" + EscapeHtml(book->title) + " <small>" + EscapeHtml(book->author) +
            "</small></td><td>" + EscapeHtml(FormatPrice(book->price_hundredths, currency)) +
            "</td></tr>\n";
  }
  const std::string amount = EscapeHtml(FormatPrice(order.AmountHundredths(catalogue), currency));
  if (by_card) {
    const std::string focused = FindFirstInvalid(errors);
    for (const Input& input : kInputs) {
      inputs += InputHtml(input, typed, errors, input.name == focused);
    }
  } else {
    inputs = "<p>Your wallet account<br>\n" + EscapeHtml(order.email) +
             "<br>\nApprove in your wallet account, and the shop gets " + amount +
             " from it.</p>\n";
  }
  ServePage(response, by_card ? "Pay by card" : "Pay with your wallet",
            "<p>Order " + order.id + "</p>\n<table>\n" + rows +
                "<tr class=\"sum\"><td>Total</td><td>" + amount +
                "</td></tr>\n</table>\n<form method=\"post\">\n" + inputs +
                "<button class=\"main\" name=\"decision\" value=\"approve\">Pay " + amount +
                "</button>\n<button name=\"decision\" value=\"cancel\">Cancel</button>\n</form>\n"
                "<p><small>Development shop: no money moves.</small></p>\n");
}

void SettlePayment(Shop& shop, Order& order, const Request& request, Response& response) {
  const std::string decision = GetField(request.form, "decision");
  if (order.payment == Order::Payment::kOpen) {
    const bool approved = decision == "approve";
    const FieldErrors errors =
        approved && order.pay_method == "CCARD" ? CheckCard(request.form) : FieldErrors{};
    if ((!approved && decision != "cancel") || !errors.empty()) {
      response.status = 422;
      return ServeForm(shop.catalogue(), order, request.form, errors, response);
    }
    order.payment = approved ? Order::Payment::kApproved : Order::Payment::kCancelled;
    shop.Save();
  }
  const bool paid = order.payment == Order::Payment::kApproved;
  response.status = 303;
  response.SetHeader("Location", paid ? order.success_url : order.cancel_url);
}

}  // namespace

void ServePayment(Shop& shop, const Request& request, Response& response) {
  const std::lock_guard lock(shop.mutex);
  Order* order = shop.orders.FindPayment(request.path.substr(request.path.rfind('/') + 1));
  if (order == nullptr) {
    response.status = 404;
    ServePage(response, "No such payment",
              "<p>This payment does not exist, or was started again. Please return to the shop's "
              "application.</p>\n");
  } else if (request.method == "POST") {
    SettlePayment(shop, *order, request, response);
  } else if (order->payment != Order::Payment::kOpen) {
    ServeSettled(*order, response);
  } else {
    ServeForm(shop.catalogue(), *order, {}, {}, response);
  }
}

}  // namespace devshop
