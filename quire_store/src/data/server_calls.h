#ifndef QUIRE_SERVER_CALLS_H_
#define QUIRE_SERVER_CALLS_H_

namespace saltmoor::quire {

/// What distinguishes one call of the server from another.
struct ServerCall {
  const char* path;
  int log_line;
  const char* return_type;  ///< of the function that the log names
  const char* signature;    ///< its name and parameters
  const char* returned;     ///< the expression that it returns after a failure
  const char* error_text_key = "ErrorMsg";
};

namespace server_calls {

inline constexpr ServerCall kCallSwitchboard{"", 121, "std::tuple<Result, SwitchboardConfig>",
                                             "CallSwitchboard(const std::string &)",
                                             "make_tuple(Result(kFailed), SwitchboardConfig())"};
inline constexpr ServerCall kLogIn{
    "/login", 163, "Result", "LogIn(const std::string &, const std::string &)", "Result(kFailed)"};
inline constexpr ServerCall kLogOut{"/logout", 196, "Result", "LogOut()", "Result(kFailed)"};
inline constexpr ServerCall kRegister{"/registerUser", 227, "Result",
                                      "Register(const std::string &, const std::string &, const "
                                      "std::string &, const std::string &, const std::string &)",
                                      "Result(kFailed)"};
inline constexpr ServerCall kGetCart{"/getCart", 256, "std::tuple<Result, Cart>",
                                     "GetCart(const std::string &)",
                                     "make_tuple(Result(kFailed), cart)"};
inline constexpr ServerCall kAddToCart{"/addToCart", 284, "std::tuple<Result, std::string>",
                                       "AddToCart(const std::string &, int)",
                                       "make_tuple(Result(kFailed), std::string())"};
inline constexpr ServerCall kAddArrayToCart{"/addToCart", 321, "std::tuple<Result, std::string>",
                                            "AddArrayToCart(const std::map<std::string, int>)",
                                            "make_tuple(Result(kFailed), std::string())"};
inline constexpr ServerCall kCheckOrder{"/checkOrder", 380, "std::tuple<Result, ChekResult>",
                                        "CheckOrder(const std::string &)",
                                        "make_tuple(Result(kFailed), check_result)"};
inline constexpr ServerCall kCommitOrderForPayment{
    "/commitOrderForPayment", 417, "CommitOrderResult",
    "commitOrderForPayment(const std::string &, const std::string &)", "result"};
inline constexpr ServerCall kGetUserEbook{
    "/getUserEbook", 458, "std::tuple<Result, std::vector<Book>>", "GetUserEbook()",
    "make_tuple(Result(kFailed), books)",
    // Compatibility: the one call whose key begins in lower case.
    "errorMsg"};
inline constexpr ServerCall kSubmitOrder{"/submitOrder", 494, "std::tuple<Result, Order>",
                                         "SubmitOrder(const std::string &, const std::string &)",
                                         "make_tuple(Result(kFailed), order)"};
inline constexpr ServerCall kGetUserData{"/getUserData", 521, "std::tuple<Result, UserData>",
                                         "GetUserData()", "make_tuple(Result(kFailed), user_data)"};

}  // namespace server_calls
}  // namespace saltmoor::quire

#endif  // QUIRE_SERVER_CALLS_H_
