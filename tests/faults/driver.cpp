// fault_driver STEP: one step of an application's work on the device, with the shipped library.
// Prints the failures that the library reports to standard error.

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "store_manager.h"

namespace {

using saltmoor::quire::Book;
using saltmoor::quire::StoreManager;

Book MakeBook(const std::string& ean) {
  Book book;
  book.string_props[Book::kEan] = ean;
  return book;
}

void Run(const std::string& step) {
  StoreManager& manager = StoreManager::Instance();
  using Call = std::function<void()>;
  const Call note = [&] {
    const auto& failure = manager.GetLastFailure();
    if (failure) fprintf(stderr, "failure %d %s\n", failure.kind, failure.path.c_str());
  };
  const auto log_in = [&](const char* user) {
    return [&manager, user] { manager.LogIn(std::string(user) + "@quire.example", "secret"); };
  };
  const auto add = [&](const char* ean) {
    return [&manager, ean] { manager.AddToCart(MakeBook(ean)); };
  };
  const Call remove = [&] { manager.RemoveFromCart(MakeBook("9780000000017")); };
  const Call download = [&] {
    manager.DownloadBookById("9780000001214");
    for (note(); manager.CheckDownloadState() != 0; usleep(1000)) note();
  };
  const std::map<std::string, std::vector<Call>> steps = {
      {"set-up", {log_in("anna"), add("9780000000017"), add("9780000001351")}},
      {"log-in", {log_in("anna")}},
      {"shop", {[&] { manager.ConfigFromServer(); }, add("9780000001917"), remove}},
      {"account", {[&] { manager.LogOut(); }, log_in("ben")}},
      {"download", {download}},
  };
  manager.Init();
  note();
  for (const Call& call : steps.at(step)) {
    call();
    note();
  }
  if (!manager.IsLoggedIn()) fprintf(stderr, "not logged in\n");
}

/// Writes in two parts, syncs nothing, checks nothing.
void WriteCarelessly(const std::string& path) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  for (const std::string part : {"{\"orderItems\": [{\"orderItemEAN\"", ": \"1\"}]}\n"}) {
    static_cast<void>(!write(fd, part.data(), part.size()));
  }
  close(fd);
}

void BeCareless() {
  const std::string directory = "/mnt/ext1/system/config/";
  WriteCarelessly(directory + "quire_cart");
  WriteCarelessly(directory + "switchboard.json.new");
  rename((directory + "switchboard.json.new").c_str(), (directory + "switchboard.json").c_str());
}

}  // namespace

int main(int argc, char** argv) {
  const std::string step = argc > 1 ? argv[1] : "";
  step == "careless" ? BeCareless() : Run(step);
}
