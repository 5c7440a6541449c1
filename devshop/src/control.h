#ifndef DEVSHOP_CONTROL_H_
#define DEVSHOP_CONTROL_H_

#include "faults.h"
#include "files.h"
#include "ledger.h"
#include "shop.h"

namespace devshop {

/// The control port: `/_faults`, `/_requests`, `/_orders` and `/_books` are read with GET; what can
/// be set is with POST, and what can be put back with DELETE. Any thread.
class Control {
 public:
  Control(Shop& shop, Files& files, Faults& faults, Ledger& ledger)
      : shop_(shop), files_(files), faults_(faults), ledger_(ledger) {}

  void Handle(const Request& request, Response& response);

 private:
  Json Dispatch(const Request& request);
  Json SetOrders(const Json& instruction);
  Json OrdersJson();

  Shop& shop_;
  Files& files_;
  Faults& faults_;
  Ledger& ledger_;
};

}  // namespace devshop

#endif  // DEVSHOP_CONTROL_H_
