// Buys one book, waits until the shop has seen the payment, and brings the book onto the device.
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>

#include "store_manager.h"

namespace {

using namespace saltmoor::quire;

[[noreturn]] void GiveUp(const std::string& what, const std::string& why = "") {
  std::cerr << what << (why.empty() ? "" : ": " + why) << '\n';
  std::exit(EXIT_FAILURE);
}

void Expect(const ServerApi::Result& result, const std::string& what) {
  if (result.code_ != ServerApi::kOk) GiveUp(what, result.message_);
}

void Buy(StoreManager& store, const std::string& ean) {
  Book book;
  book.string_props[Book::kEan] = ean;
  book.string_props[Book::kCurrency] = "EUR";
  store.AddToCart(book);

  store.CheckOut();  // always kOk: the cart that comes back tells
  if (!store.GetCart().IsContain(ean)) GiveUp("The shop does not answer, or does not sell " + ean);
  std::cout << "To pay: " << store.GetCart().GetTotalPriceFormatted() << std::endl;

  Expect(store.StartPayment("PAYPAL"), "The payment could not begin");
  Expect(store.CheckPaymentResult(), "The shop has seen no payment");
}

std::string Download(StoreManager& store, const std::string& ean) {
  store.DownloadBookById(ean);
  while (store.CheckDownloadState() != 0) {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
  }
  return store.GetBookStatus(ean).path;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) GiveUp("usage: first_purchase USER EAN <password-file");
  const std::string user = argv[1];
  const std::string ean = argv[2];
  std::string password;
  std::getline(std::cin, password);

  StoreManager& store = StoreManager::Instance();
  if (store.Init() != 0) GiveUp("No configuration: is this a device, and has it a network?");
  Expect(store.LogIn(user, password), "The shop did not let you in");
  if (!store.IsLoggedIn()) GiveUp("No session was opened");

  const int status = store.GetBookStatus(ean).status;
  if (status == BookStatus::kNotPurchased || status == BookStatus::kInCart) Buy(store, ean);
  const std::string path = Download(store, ean);
  if (path.empty()) GiveUp("The book is bought, but its download failed; run this again");
  std::cout << "The book lies in " << path << '\n';
}
