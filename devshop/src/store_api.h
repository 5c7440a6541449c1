#ifndef DEVSHOP_STORE_API_H_
#define DEVSHOP_STORE_API_H_

#include <string>

#include "http_message.h"
#include "json.h"
#include "shop.h"

namespace devshop {

/// Handles a request under kApiPath: form fields in, JSON out. Thread-safe.
void ServeStoreApi(Shop& shop, const Request& request, Response& response);

/// The body of a refused call, sent with status 200; `text` is for the customer.
Json RefusalToJson(const std::string& path, const std::string& text);

}  // namespace devshop

#endif  // DEVSHOP_STORE_API_H_
