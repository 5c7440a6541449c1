#include "http_message.h"

#include <algorithm>
#include <boost/algorithm/string/predicate.hpp>
#include <memory>
#include <utility>

namespace devshop {
namespace {

template <typename List>
auto FindHeader(List& headers, std::string_view name) {
  return std::find_if(headers.begin(), headers.end(), [&](const auto& header) {
    return boost::algorithm::iequals(header.first, name);
  });
}

}  // namespace

std::string Request::GetHeader(std::string_view name) const {
  const auto found = FindHeader(headers, name);
  return found == headers.end() ? std::string() : found->second;
}

void Response::SetHeader(const std::string& name, const std::string& value) {
  const auto found = FindHeader(headers, name);
  if (found == headers.end()) {
    headers.emplace_back(name, value);
  } else {
    found->second = value;
  }
}

void Response::SetContent(std::string body, const std::string& type) {
  SetHeader("Content-Type", type);
  size_bytes = body.size();
  read = [bytes = std::make_shared<const std::string>(std::move(body))](
             std::size_t offset, std::size_t size, std::string* piece) {
    *piece = bytes->substr(offset, size);
    return true;
  };
}

void Response::SetError(int error_status, const std::string& sentence) {
  status = error_status;
  SetContent(sentence + "\n", "text/plain");
}

}  // namespace devshop
