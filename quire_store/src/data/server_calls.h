#ifndef QUIRE_SERVER_CALLS_H_
#define QUIRE_SERVER_CALLS_H_

#include "log.h"

namespace saltmoor::quire {

/// What distinguishes one call of the server from another.
struct ServerCall {
  const char* path;
  LogPlace place;
  const char* returned;  ///< the expression that the log names after a failure
  const char* error_text_key = "ErrorMsg";
};

namespace server_calls {

inline constexpr char kSource[] = "quire_store/src/data/server_api";

inline constexpr ServerCall kCallSwitchboard{
    "",
    {kSource, 121,
     "std::tuple<Result, SwitchboardConfig> saltmoor::quire::ServerApi::CallSwitchboard(const "
     "std::string &)"},
    "make_tuple(Result(kFailed), SwitchboardConfig())"};
inline constexpr ServerCall kLogIn{
    "/login",
    {kSource, 163,
     "Result saltmoor::quire::ServerApi::LogIn(const std::string &, const std::string &)"},
    "Result(kFailed)"};
inline constexpr ServerCall kLogOut{
    "/logout", {kSource, 196, "Result saltmoor::quire::ServerApi::LogOut()"}, "Result(kFailed)"};
inline constexpr ServerCall kRegister{
    "/registerUser",
    {kSource, 227,
     "Result saltmoor::quire::ServerApi::Register(const std::string &, const std::string &, const "
     "std::string &, const std::string &, const std::string &)"},
    "Result(kFailed)"};
inline constexpr ServerCall kGetCart{
    "/getCart",
    {kSource, 256,
     "std::tuple<Result, Cart> saltmoor::quire::ServerApi::GetCart(const std::string &)"},
    "make_tuple(Result(kFailed), cart)"};
inline constexpr ServerCall kAddToCart{
    "/addToCart",
    {kSource, 284,
     "std::tuple<Result, std::string> saltmoor::quire::ServerApi::AddToCart(const std::string &, "
     "int)"},
    "make_tuple(Result(kFailed), std::string())"};
inline constexpr ServerCall kAddArrayToCart{
    "/addToCart",
    {kSource, 321,
     "std::tuple<Result, std::string> saltmoor::quire::ServerApi::AddArrayToCart(const "
     "std::map<std::string, int>)"},
    "make_tuple(Result(kFailed), std::string())"};
inline constexpr ServerCall kCheckOrder{
    "/checkOrder",
    {kSource, 380,
     "std::tuple<Result, ChekResult> saltmoor::quire::ServerApi::CheckOrder(const std::string &)"},
    "make_tuple(Result(kFailed), check_result)"};
inline constexpr ServerCall kCommitOrderForPayment{
    "/commitOrderForPayment",
    {kSource, 417,
     "CommitOrderResult saltmoor::quire::ServerApi::commitOrderForPayment(const std::string &, "
     "const std::string &)"},
    "result"};
inline constexpr ServerCall kGetUserEbook{
    "/getUserEbook",
    {kSource, 458,
     "std::tuple<Result, std::vector<Book>> saltmoor::quire::ServerApi::GetUserEbook()"},
    "make_tuple(Result(kFailed), books)",
    // Compatibility: the one call whose key begins in lower case.
    "errorMsg"};
inline constexpr ServerCall kSubmitOrder{
    "/submitOrder",
    {kSource, 494,
     "std::tuple<Result, Order> saltmoor::quire::ServerApi::SubmitOrder(const std::string &, const "
     "std::string &)"},
    "make_tuple(Result(kFailed), order)"};
inline constexpr ServerCall kGetUserData{
    "/getUserData",
    {kSource, 521, "std::tuple<Result, UserData> saltmoor::quire::ServerApi::GetUserData()"},
    "make_tuple(Result(kFailed), user_data)"};

}  // namespace server_calls
}  // namespace saltmoor::quire

#endif  // QUIRE_SERVER_CALLS_H_
