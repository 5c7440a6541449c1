#include "shop.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

#include "atomic_file.h"
#include "crypto.h"
#include "json.h"
#include "start_error.h"

namespace devshop {
namespace {

Json ReadJson(const std::filesystem::path& path) {
  std::ifstream file(path);
  if (!file) {
    throw StartError("Cannot read the accounts in " + path.string() + " (" + std::strerror(errno) +
                     "); name a readable file with --accounts.");
  }
  return Json::parse(file, nullptr, false);
}

}  // namespace

Shop::Shop(const Catalogue& catalogue, const std::filesystem::path& accounts_file,
           const std::filesystem::path& state_file)
    : catalogue_(catalogue), state_file_(state_file), link_secret_(RandomHex(32)) {
  const bool kept = !state_file.empty() && std::filesystem::exists(state_file);
  const auto& source = kept ? state_file : accounts_file;
  const Json json = ReadJson(source);
  try {
    accounts.Load(json, catalogue_, source.string());
    if (!kept) return;
    orders.Load(json.at("orders"));
    link_secret_ = json.at("linkSecret");
  } catch (const std::exception&) {
    if (!kept) throw;
    throw StartError(state_file.string() +
                     " is not the state of a shop; remove it to start from the accounts file.");
  }
}

void Shop::Save() const {
  if (state_file_.empty()) return;
  const Json state{
      {"accounts", accounts.ToJson()}, {"orders", orders.ToJson()}, {"linkSecret", link_secret_}};
  if (const auto error = WriteFileAtomically(state_file_, ToString(state))) {
    std::cerr << "quire-devshop: Cannot save the shop's state in " + state_file_.string() + " (" +
                     error.message() + "); it is lost when the shop closes.\n";
  }
}

std::string Shop::LinkToken(const Account& account, const std::string& ean) const {
  return HmacSha256Hex(link_secret_, account.email + "\n" + ean);
}

}  // namespace devshop
