#include "configuration_service.h"

#include "crypto.h"
#include "hosts.h"
#include "json.h"
#include "url_encoding.h"

namespace devshop {
namespace {

constexpr std::size_t kMaxNonces = 100'000;
const std::string kDataString = "Tw3kH-pL";

/// The signature of the request without its signature parameter.
std::string ExpectedSignature(const Request& request) {
  std::string query;
  for (const auto& [name, value] : request.query) {
    if (name == "client_signature") continue;
    query += (query.empty() ? "" : "&") + PercentEncode(name) + "=" + PercentEncode(value);
  }
  const std::string url = "http://" + request.GetHeader("Host") + request.path;
  return HmacSha256Hex(Sha256Hex(kDataString), "GET\n" + url + "\n" + query + "\n\n");
}

Json Configuration() {
  Json opds{{"OPDSStartPage", kShopUrl + kStartPath}};
  for (const LegalPage& page : kLegalPages) opds[page.configuration_key] = kShopUrl + page.path;
  return {{"partner", "quire"},
          {"clientId", "quire-" + kStoreId},
          {"shopUrl", kShopUrl + "/"},
          {"shopName", kShopName},
          {"opdsUrl", std::move(opds)}};
}

}  // namespace

const std::string ConfigurationService::kPath = "/api/config/v1/get-device-opds-config";

void ConfigurationService::Handle(const Request& request, Response& response) {
  const std::string refusal = CheckRequest(request);
  response.status = refusal.empty() ? 200 : 403;
  response.SetContent(ToString(refusal.empty() ? Configuration() : Json{{"error", refusal}}),
                      "application/json");
}

std::string ConfigurationService::CheckRequest(const Request& request) {
  for (const char* name : {"device_sn", "nonce", "client_signature"}) {
    if (GetField(request.query, name).empty())
      return "The parameter " + std::string(name) + " is missing.";
  }
  if (!SecretsEqual(GetField(request.query, "client_signature"), ExpectedSignature(request))) {
    return "The parameter client_signature does not sign this request.";
  }
  return UseNonce(GetField(request.query, "nonce")) ? "" : "The nonce has been used before.";
}

bool ConfigurationService::UseNonce(const std::string& nonce) {
  const std::lock_guard lock(mutex_);
  if (!used_nonces_.insert(nonce).second) return false;
  nonces_by_age_.push_back(nonce);
  if (nonces_by_age_.size() > kMaxNonces) {
    used_nonces_.erase(nonces_by_age_.front());
    nonces_by_age_.pop_front();
  }
  return true;
}

}  // namespace devshop
