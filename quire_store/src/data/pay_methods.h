#ifndef QUIRE_PAY_METHODS_H_
#define QUIRE_PAY_METHODS_H_

/// The pay methods with a payment page; compared exactly.
namespace saltmoor::quire::pay_methods {

inline constexpr char kPaypal[] = "PAYPAL";
inline constexpr char kCreditCard[] = "CCARD";

}  // namespace saltmoor::quire::pay_methods

#endif  // QUIRE_PAY_METHODS_H_
