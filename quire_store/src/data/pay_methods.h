#ifndef QUIRE_PAY_METHODS_H_
#define QUIRE_PAY_METHODS_H_

/// The pay methods that the shop and the browser treat in a way of their own; compared exactly.
namespace saltmoor::quire::pay_methods {

inline constexpr char kPaypal[] = "PAYPAL";
inline constexpr char kCreditCard[] = "CCARD";

}  // namespace saltmoor::quire::pay_methods

#endif  // QUIRE_PAY_METHODS_H_
