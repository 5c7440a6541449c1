#include "book_view.h"

#include "text.h"

namespace app {

std::string QuoteTitle(const std::string& title) {
  constexpr int kColumns = 60;
  return "“" + Truncate(MakePrintable(title), kColumns) + "”";
}

std::string DisplayTitle(const store::Book& book) {
  const std::string title = GetString(book, store::Book::kTitle);
  return title.empty() ? GetString(book, store::Book::kEan) : title;
}

Cell StatusCell(const store::BookStatus& status) {
  switch (status.status) {
    case store::BookStatus::kInCart:
      return {"in the cart"};
    case store::BookStatus::kPurchased:
      return {"bought"};
    case store::BookStatus::kDownloading:
      return {"downloading " + std::to_string(status.progress) + " %"};
    case store::BookStatus::kDownloaded:
      return {"on the device", Style::kGood};
    default:
      return {"not bought", Style::kDim};
  }
}

std::string StatusKey(const store::BookStatus& status) {
  switch (status.status) {
    case store::BookStatus::kInCart:
      return "in_cart";
    case store::BookStatus::kPurchased:
      return "bought";
    case store::BookStatus::kDownloading:
      return "downloading";
    case store::BookStatus::kDownloaded:
      return "downloaded";
    default:
      return "not_bought";
  }
}

}  // namespace app
