#include <json/value.h>

#include <algorithm>
#include <memory>

#include "book_view.h"
#include "catalogue.h"
#include "commands.h"
#include "screen.h"
#include "title_choice.h"

namespace app {
namespace {

/// Converts a title of the catalogue by way of the shop's JSON.
store::Book ToBook(const CatalogueEntry& entry) {
  ::Json::Value item(::Json::objectValue);
  const auto set = [&](const char* key, const std::string& text) {
    if (!text.empty()) item[key] = text;
  };
  set("orderItemEAN", entry.ean);
  set("orderItemTitle", entry.title);
  set("orderItemAuthor", entry.author);
  set("orderItemThumbnail", entry.thumbnail_url);
  set("orderImageUrl", entry.image_url);
  set("productPageURL", entry.page_url);
  set("orderItemEbookType", entry.type);
  set("currency", entry.currency);
  set("orderItemIsEbook", "true");
  set("orderItemQuantity", "1");
  if (entry.price_hundredths) {
    const std::string cents = std::to_string(*entry.price_hundredths % 100);
    set("orderItemPrice", std::to_string(*entry.price_hundredths / 100) + "." +
                              std::string(2 - cents.size(), '0') + cents);
  }
  return store::Book::FromJson(item);
}

void ShowCart(Session& session, bool as_json) {
  const store::Cart& cart = session.LocalCart();
  if (as_json) return PrintJson(CartToJson(cart));
  if (cart.GetSize() > 0) return PrintCart(cart);
  Screen::Out().PrintLine("The cart is empty. Fill it with \"quire cart add EAN\".");
}

void AddToCart(Session& session, const std::vector<std::string>& eans) {
  store::StoreManager& manager = session.Store();
  std::vector<std::string> wanted;
  bool is_any_bought = false;
  for (const std::string& ean : eans) {
    const auto status = manager.GetBookStatus(ean).status;
    if (status == store::BookStatus::kInCart) {
      Screen::Out().PrintLine(ean + " is in the cart already.");
    } else if (status != store::BookStatus::kNotPurchased) {
      is_any_bought = true;
      PrintError("You have bought " + ean + " already. Get it with \"quire download " + ean +
                 "\".");
    } else {
      wanted.push_back(ean);
    }
  }
  std::vector<CatalogueEntry> found;
  if (!wanted.empty()) {
    const Spinner spinner("Searching the catalogue …");
    found = Catalogue(session.Config()[store::SwitchboardConfig::kOpdsStartPage]).Find(wanted);
  }
  std::string missing;
  for (const std::string& ean : wanted) {
    const auto entry = std::find_if(found.begin(), found.end(),
                                    [&](const CatalogueEntry& each) { return each.ean == ean; });
    if (entry == found.end()) {
      missing += (missing.empty() ? "" : ", ") + ean;
      continue;
    }
    manager.AddToCart(ToBook(*entry));
    session.order_is_priced = false;
    Screen::Out().PrintLine("Added to the cart: " + QuoteTitle(entry->title) + ".");
  }
  if (!missing.empty()) {
    throw CommandError(kNotFound, "The catalogue has no " + missing +
                                      ". See what it has with \"quire catalogue\".");
  }
  if (is_any_bought) throw CommandError(kFailed, "");
}

/// The index of the item that a user names; numbers are positions in the cart.
unsigned FindPosition(const store::Cart& cart, const std::string& named) {
  const auto find_words = [&](const std::string& words) {
    return SelectByWords(ToNamedTitles(cart.orderItems), words);
  };
  const auto find_number = [&](std::size_t number) {
    return number >= 1 && number <= cart.GetSize() ? "#" + std::to_string(number) : std::string();
  };
  const std::string advice = "See what the cart has with \"quire cart\".";
  const std::string id = ChooseTitle(named, {find_words, advice, find_number});
  if (id.starts_with('#')) return static_cast<unsigned>(std::stoul(id.substr(1)) - 1);
  for (unsigned i = 0; i < cart.GetSize(); ++i) {
    if (GetString(cart.GetItem(i), store::Book::kEan) == id) return i;
  }
  throw CommandError(kNotFound, "The cart has no " + id + ". " + advice);
}

void RemoveFromCart(Session& session, const std::string& which) {
  const store::Cart& cart = session.LocalCart();
  const unsigned position = FindPosition(cart, which);
  const std::string title = GetString(cart.GetItem(position), store::Book::kTitle);
  session.RemoveFromCart(position);
  session.order_is_priced = false;
  Screen::Out().PrintLine("Removed from the cart: " + QuoteTitle(title) + ".");
}

}  // namespace

void AddCartCommands(CLI::App& cli, Session& session) {
  const auto eans = std::make_shared<std::vector<std::string>>();
  const auto which = std::make_shared<std::string>();

  CLI::App* cart = AddListing(cli, "cart", "Show the cart, or change it",
                              [&session](bool as_json) { ShowCart(session, as_json); });
  CLI::App* add = cart->add_subcommand("add", "Add titles of the catalogue to it");
  add->add_option("TITLE", *eans, "EANs, numbers of the last list, or words of one title")
      ->required();
  add->callback([&session, eans] { AddToCart(session, ChooseFromCatalogue(session, *eans)); });
  CLI::App* remove = cart->add_subcommand("remove", "Remove a title from it");
  remove->add_option("TITLE", *which, "Its EAN, its number in the cart, or words of its title")
      ->required();
  remove->callback([&session, which] { RemoveFromCart(session, *which); });
}

}  // namespace app
