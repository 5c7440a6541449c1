#ifndef DEVSHOP_GATE_H_
#define DEVSHOP_GATE_H_

#include <functional>
#include <string>

#include "faults.h"
#include "http_server.h"
#include "ledger.h"

namespace devshop {

/// Stands before a port: enters each request in the ledger and lets it meet its fault. Any thread.
class Gate {
 public:
  using Site = std::function<void(const Request&, Response&)>;

  Gate(std::string port, Ledger& ledger, Faults& faults, Site site)
      : port_(std::move(port)), ledger_(ledger), faults_(faults), site_(std::move(site)) {}

  void pass(const Request& request, Response& response, Connection& connection);

 private:
  void meet(const Fault& fault, const Request& request, Response& response, Connection& connection);

  const std::string port_;
  Ledger& ledger_;
  Faults& faults_;
  const Site site_;
};

}  // namespace devshop

#endif  // DEVSHOP_GATE_H_
