#include "configuration_service.h"

#include "crypto.h"
#include "hosts.h"
#include "legal_pages.h"

namespace devshop {
namespace {

constexpr std::size_t kNoncesRemembered = 100'000;
const std::string kDataString = "Tw3kH-pL";

/// The signature made over the request as it stood before the signature was added.
std::string expected_signature(const Request& request, const std::string& signature_name) {
  std::string query;
  for (const auto& [name, value] : request.query) {
    if (name == signature_name) continue;
    query += (query.empty() ? "" : "&") + percent_encode(name) + "=" + percent_encode(value);
  }
  const std::string url = "http://" + request.header("Host") + request.path;
  return hmac_sha256_hex(sha256_hex(kDataString), "GET\n" + url + "\n" + query + "\n\n");
}

Json configuration() {
  Json opds{{"OPDSStartPage", kShopUrl + kStartPath}};
  for (const LegalPage& page : kLegalPages) opds[page.configuration_key] = kShopUrl + page.path();
  return {{"partner", "quire"},
          {"clientId", "quire-" + kStoreId},
          {"shopUrl", kShopUrl + "/"},
          {"shopName", kShopName},
          {"opdsUrl", std::move(opds)}};
}

}  // namespace

const std::string ConfigurationService::kPath = "/api/config/v1/get-device-opds-config";

void ConfigurationService::answer(const Request& request, Response& response) {
  const std::string fault = find_fault(request);
  response.status = fault.empty() ? 200 : 403;
  response.set_content(to_text(fault.empty() ? configuration() : Json{{"error", fault}}),
                       "application/json");
}

std::string ConfigurationService::find_fault(const Request& request) {
  for (const char* name : {"device_sn", "nonce", "client_signature"}) {
    if (field(request.query, name).empty())
      return "The parameter " + std::string(name) + " is missing.";
  }
  const std::string signature = "client_signature";
  if (!equal_secrets(field(request.query, signature), expected_signature(request, signature))) {
    return "The parameter client_signature does not sign this request.";
  }
  return use_nonce(field(request.query, "nonce")) ? "" : "The nonce has been used before.";
}

bool ConfigurationService::use_nonce(const std::string& nonce) {
  const std::lock_guard lock(mutex_);
  if (!used_nonces_.insert(nonce).second) return false;
  nonces_by_age_.push_back(nonce);
  if (nonces_by_age_.size() > kNoncesRemembered) {
    used_nonces_.erase(nonces_by_age_.front());
    nonces_by_age_.pop_front();
  }
  return true;
}

}  // namespace devshop
