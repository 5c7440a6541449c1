#ifndef QUIRE_TESTS_STORE_CALLS_H_
#define QUIRE_TESTS_STORE_CALLS_H_

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "server_api.h"

namespace saltmoor::quire {

/// The result of a call and its record in words, which are empty for a default one.
using CallResult = std::pair<ServerApi::Result, std::string>;

/// One of the twelve calls of the server, with fixed arguments.
struct StoreCall {
  const char* name;
  std::string path;        ///< as fake::Device::AddResponse takes it
  std::string parameters;  ///< as fake::Device::Calls shows them, after the path
  int log_line;
  const char* function;  ///< as the log shows it
  const char* returned;  ///< the returned expression in the log
  std::string response;  ///< a valid one
  const char* record;    ///< the record that the call reads from it
  std::function<CallResult(ServerApi&)> make;
};

extern const std::vector<StoreCall> kStoreCalls;

}  // namespace saltmoor::quire

#endif  // QUIRE_TESTS_STORE_CALLS_H_
