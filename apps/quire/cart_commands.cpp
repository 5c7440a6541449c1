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
  if (as_json) return PrintJson(CartToJson(session));
  if (session.LocalCart().GetSize() > 0) return PrintCart(session);
  Screen::Out().PrintLine("The cart is empty. Fill it with \"quire cart add EAN\".");
}

/// Prints why a title is not added, or returns true.
bool CanAdd(store::StoreManager& manager, const std::string& ean, bool again) {
  const auto status = manager.GetBookStatus(ean).status;
  if (status == store::BookStatus::kNotPurchased) return true;
  if (status == store::BookStatus::kInCart) {
    Screen::Out().PrintLine(ean + " is in the cart already.");
  } else if (again) {
    return true;
  } else {
    PrintError("You have bought " + ean + " already. Get it with \"quire download " + ean +
               "\", or add it with --again to buy it once more.");
  }
  return false;
}

void AddToCart(Session& session, const std::vector<std::string>& eans, bool again) {
  store::StoreManager& manager = session.Store();
  std::vector<std::string> wanted;
  bool is_any_refused = false;
  for (const std::string& ean : eans) {
    if (CanAdd(manager, ean, again)) {
      wanted.push_back(ean);
    } else {
      is_any_refused =
          is_any_refused || manager.GetBookStatus(ean).status != store::BookStatus::kInCart;
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
    SaveCart(session);
    session.order_is_priced = false;
    Screen::Out().PrintLine("Added to the cart: " + QuoteTitle(entry->title) + ".");
  }
  if (!missing.empty()) {
    throw CommandError(kNotFound, "The catalogue has no " + missing +
                                      ". See what it has with \"quire catalogue\".");
  }
  if (is_any_refused) throw CommandError(kFailed, "");
}

/// The item that a user names; numbers are positions as ListCart has them.
store::Book ChooseFromCart(Session& session, const std::string& named) {
  const std::vector<CartItem> items = ListCart(session);
  const auto find_words = [&](const std::string& words) {
    return SelectByWords(ToNamedTitles(session.LocalCart().orderItems), words);
  };
  const auto find_number = [&](std::size_t number) {
    const bool is_listed = std::any_of(
        items.begin(), items.end(), [&](const CartItem& item) { return item.position == number; });
    return is_listed ? "#" + std::to_string(number) : std::string();
  };
  const std::string advice = "See what it has with \"quire cart\".";
  const std::string id = ChooseTitle(named, {find_words, advice, find_number});
  for (const auto& [position, book] : items) {
    if (id == GetString(book, store::Book::kEan) || id == "#" + std::to_string(position)) {
      return book;
    }
  }
  throw CommandError(kNotFound, "The cart has no " + id + ". " + advice);
}

void RemoveFromCart(Session& session, const std::string& named) {
  const store::Book book = ChooseFromCart(session, named);
  session.RemoveFromCart(book);
  SaveCart(session);
  session.order_is_priced = false;
  Screen::Out().PrintLine("Removed from the cart: " + QuoteTitle(DisplayTitle(book)) + ".");
}

}  // namespace

void AddCartCommands(CLI::App& cli, Session& session) {
  const auto eans = std::make_shared<std::vector<std::string>>();
  const auto which = std::make_shared<std::string>();
  const auto again = std::make_shared<bool>(false);

  CLI::App* cart = AddListing(cli, "cart", "Show the cart, or change it",
                              [&session](bool as_json) { ShowCart(session, as_json); });
  CLI::App* add = cart->add_subcommand("add", "Add titles of the catalogue to it");
  add->add_option("TITLE", *eans, "EANs, numbers of the last list, or words of one title")
      ->required();
  add->add_flag("--again", *again, "Also titles that you have bought already");
  add->callback(
      [&session, eans, again] { AddToCart(session, ChooseFromCatalogue(session, *eans), *again); });
  CLI::App* remove = cart->add_subcommand("remove", "Remove a title from it");
  remove->add_option("TITLE", *which, "Its EAN, its number in the cart, or words of its title")
      ->required();
  remove->callback([&session, which] { RemoveFromCart(session, *which); });
}

}  // namespace app
