#include "shop.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <iostream>

#include "crypto.h"
#include "start_error.h"

namespace devshop {
namespace {

Json read_json(const std::filesystem::path& path) {
  std::ifstream file(path);
  if (!file) {
    throw StartError("Cannot read the accounts in " + path.string() + " (" + std::strerror(errno) +
                     "); name a readable file with --accounts.");
  }
  return Json::parse(file, nullptr, false);
}

/// The file has the old content or the new, whatever happens meanwhile.
bool replace_file(const std::filesystem::path& path, const std::string& text) {
  const auto neighbour = path.string() + ".new";
  const int fd = open(neighbour.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd < 0) return false;
  const bool written =
      write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size()) && fsync(fd) == 0;
  return close(fd) == 0 && written && rename(neighbour.c_str(), path.c_str()) == 0;
}

}  // namespace

Shop::Shop(const std::filesystem::path& books, const std::filesystem::path& accounts_file,
           const std::filesystem::path& state_file)
    : catalogue_(books), state_file_(state_file), link_secret_(random_hex(32)) {
  const bool kept = !state_file.empty() && std::filesystem::exists(state_file);
  const auto& source = kept ? state_file : accounts_file;
  const Json json = read_json(source);
  try {
    accounts.load(json, catalogue_, source.string());
    if (!kept) return;
    orders.load(json.at("orders"));
    link_secret_ = json.at("linkSecret");
  } catch (const std::exception&) {
    if (!kept) throw;
    throw StartError(state_file.string() +
                     " is not the state of a shop; remove it to start from the accounts file.");
  }
}

void Shop::save() const {
  if (state_file_.empty()) return;
  const Json state{
      {"accounts", accounts.to_json()}, {"orders", orders.to_json()}, {"linkSecret", link_secret_}};
  if (!replace_file(state_file_, to_text(state))) {
    std::cerr << "Cannot keep the shop's state in " + state_file_.string() + " (" +
                     std::strerror(errno) + "); it lasts until the shop closes.\n";
  }
}

std::string Shop::link_token(const Account& account, const std::string& ean) const {
  return hmac_sha256_hex(link_secret_, account.email + "\n" + ean);
}

}  // namespace devshop
