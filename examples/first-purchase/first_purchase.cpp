// Buys one book, waits until the shop confirms the payment, and downloads the book to the device.
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>

#include "store_manager.h"

namespace {

using namespace saltmoor::quire;

[[noreturn]] void Exit(const std::string& error, const Failure& failure = {}) {
  std::cerr << error;
  if (failure.kind == Failure::kNetwork) std::cerr << ": the server cannot be reached";
  if (failure.kind == Failure::kHttpStatus) std::cerr << ": HTTP status " << failure.http_status;
  if (!failure.message.empty()) std::cerr << ": " << failure.message;
  std::cerr << '\n';
  std::exit(EXIT_FAILURE);
}

void Buy(StoreManager& store, const std::string& ean) {
  Book book;
  book.string_props[Book::kEan] = ean;
  book.string_props[Book::kCurrency] = "EUR";
  store.AddToCart(book);

  store.CheckOut();  // returns kOk even on failure
  if (store.GetLastFailure()) Exit("The cart could not be sent", store.GetLastFailure());
  if (!store.GetCart().IsContain(ean)) Exit("The shop does not sell " + ean);
  std::cout << "To pay: " << store.GetCart().GetTotalPriceFormatted() << std::endl;

  store.StartPayment("PAYPAL");
  if (store.GetLastFailure()) Exit("The payment did not start", store.GetLastFailure());
  store.CheckPaymentResult();
  if (store.GetLastFailure()) Exit("The shop has not received the payment", store.GetLastFailure());
}

void Download(StoreManager& store, const std::string& ean) {
  store.DownloadBookById(ean);
  while (!store.GetLastFailure() && store.CheckDownloadState() != 0) {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
  }
  if (store.GetLastFailure())
    Exit("The book is bought, but not downloaded", store.GetLastFailure());
  std::cout << "The book is saved as " << store.GetSavedPath() << '\n';
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) Exit("usage: first_purchase USER EAN <password-file");
  const std::string user = argv[1];
  const std::string ean = argv[2];
  std::string password;
  std::getline(std::cin, password);

  StoreManager& store = StoreManager::Instance();
  if (store.Init() != 0) Exit("The shop's configuration is missing", store.GetLastFailure());
  if (store.LogIn(user, password).code_ != ServerApi::kOk) {
    Exit("The shop did not let you in", store.GetLastFailure());
  }
  if (!store.IsPurchasedKnown()) Exit("The bought books are unknown", store.GetLastFailure());

  const int status = store.GetBookStatus(ean).status;
  if (status == BookStatus::kNotPurchased || status == BookStatus::kInCart) Buy(store, ean);
  Download(store, ean);
}
