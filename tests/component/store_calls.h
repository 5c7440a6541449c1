#ifndef QUIRE_TESTS_STORE_CALLS_H_
#define QUIRE_TESTS_STORE_CALLS_H_

#include <functional>
#include <string>
#include <vector>

#include "server_api.h"

namespace saltmoor::quire {

/// One of the twelve calls of the shop's server, made with fixed arguments.
struct StoreCall {
  const char* name;
  std::string path;        ///< as fake::Device::AddAnswer takes it
  std::string parameters;  ///< as the journal shows them, after the path
  int log_line;
  const char* function;  ///< as the log shows it
  const char* returned;  ///< what the log says is returned
  std::string answer;    ///< a good one
  const char* payload;   ///< what the call makes of it

  /// Makes the call, reads all of the record and puts it into words: empty for one that a failure
  /// or an answer without content gives.
  std::function<ServerApi::Result(ServerApi&, std::string* payload)> make;
};

extern const std::vector<StoreCall> kStoreCalls;

}  // namespace saltmoor::quire

#endif  // QUIRE_TESTS_STORE_CALLS_H_
