#include "server_api.h"

#include <climits>

#include "on_device.h"
#include "store_calls.h"

namespace saltmoor::quire {
namespace {

class Server : public OnDevice {
 protected:
  ServerApi api;
  std::string payload;

  void SetUp() override {
    OnDevice::SetUp();
    api.SetConfig(SwitchboardConfig::Parse(Parsed(kSwitchboardAnswer)));
  }

  /// Makes one call in a session, with one answer to it.
  ServerApi::Result Make(const StoreCall& call, const std::string& body, long status = 200) {
    SCOPED_TRACE(call.name);
    device.ForgetAnswers();
    device.Answer(call.path, body, status);
    return Make(call);
  }
  ServerApi::Result Make(const StoreCall& call) {
    device.ForgetJournal();
    api.SetSessionId(kSession);
    payload.clear();
    return call.make(api, &payload);
  }

  /// The parameters that a call sent.
  std::string Sent() {
    const std::string line = device.Journal({"POST"}).at(0);
    return line.substr(line.find(' ', 5) + 1);
  }
};

TEST_F(Server, EveryCall_SendsItsParametersInOrder_AndReadsItsAnswer) {
  for (const StoreCall& call : kStoreCalls) {
    SCOPED_TRACE(call.name);
    const ServerApi::Result result = Make(call, call.answer);
    EXPECT_EQ(result.code_, ServerApi::kOk);
    EXPECT_EQ(result.message_, std::string(call.name) == "Register" ? "welcome" : "");
    EXPECT_EQ(payload, call.payload);
    EXPECT_EQ(device.Journal({"GET", "POST"}),
              Lines{(call.path[0] == '/' ? "POST " : "GET ") + call.path + call.parameters});
    EXPECT_EQ(device.Journal({"log"}), Lines());
  }
}

TEST_F(Server, EveryCall_LogsALostAnswer) {
  for (const StoreCall& call : kStoreCalls) {
    SCOPED_TRACE(call.name);
    device.ForgetAnswers();
    const ServerApi::Result result = Make(call);
    EXPECT_EQ(result.code_, ServerApi::kFailed);
    EXPECT_EQ(result.message_ + payload, "");
    EXPECT_EQ(api.GetSessionId(), kSession);
    EXPECT_EQ(
        device.Journal({"log"}),
        Lines{"log 2 quire_store/src/data/server_api:" + std::to_string(call.log_line) + " " +
              call.function + ": Condition: \"0 == err\", return(\"" + call.returned + "\")]"});
  }
}

TEST_F(Server, EveryCall_FailsInSilence_WithAnotherStatusThan200) {
  for (const StoreCall& call : kStoreCalls) {
    for (const long status : {0, 201, 204, 302, 404, 500}) {
      SCOPED_TRACE(std::string(call.name) + " " + std::to_string(status));
      for (const std::string& body :
           {call.answer, std::string(R"({"error":"true","response":{"ErrorMsg":"x"}})")}) {
        const ServerApi::Result result = Make(call, body, status);
        EXPECT_EQ(result.code_, ServerApi::kFailed);
        EXPECT_EQ(result.message_ + payload, "");
        EXPECT_EQ(api.GetSessionId(), kSession);
        EXPECT_EQ(device.Journal({"log"}), Lines());
      }
    }
  }
}

TEST_F(Server, EveryCall_IsRefusedByErrorTrueOnly) {
  const std::string content = R"("response":{"ErrorMsg":"E","errorMsg":"e","opdsSessionId":"S-2",)"
                              R"("orderId":"O","url":"u","order":{},"userId":"U"}})";
  for (const StoreCall& call : kStoreCalls) {
    if (call.path == kSwitchboardUrl) continue;  // whose answers have no such member
    SCOPED_TRACE(call.name);
    const bool list = call.path == "/getUserEbook";
    for (const char* error : {R"("true")", "true"}) {
      ServerApi::Result result = Make(call, std::string(R"({"error":)") + error + "," + content);
      EXPECT_EQ(result.code_, ServerApi::kFailed);
      EXPECT_EQ(result.message_, list ? "e" : "E");
      EXPECT_EQ(payload, "");
      EXPECT_EQ(api.GetSessionId(), kSession);
      for (const char* rest : {"}", R"(,"response":[{"orderItemEAN":"1"}]})", R"(,"response":5})",
                               R"(,"response":{"ErrorMsg":["E"],"errorMsg":{}}})"}) {
        result = Make(call, std::string(R"({"error":)") + error + rest);
        EXPECT_EQ(result.code_, ServerApi::kFailed) << rest;
        EXPECT_EQ(result.message_ + payload, "") << rest;
      }
    }
    for (const char* error :
         {"1", "false", R"("false")", R"("TRUE")", R"(" true")", "[true]", "{}", "null"}) {
      EXPECT_EQ(Make(call, std::string(R"({"error":)") + error + "," + content).code_,
                ServerApi::kOk)
          << error;
    }
  }
}

TEST_F(Server, EveryCall_SucceedsWithNothing_WhenTheAnswerIsNoJson) {
  for (const StoreCall& call : kStoreCalls) {
    for (const char* body : {"", "<html>", "not json", "null", "{}", R"({"response":null})"}) {
      const ServerApi::Result result = Make(call, body);
      EXPECT_EQ(result.code_, ServerApi::kOk) << call.name << " " << body;
      EXPECT_EQ(result.message_ + payload, "") << call.name << " " << body;
    }
  }
}

TEST_F(Server, Session_IsSetByLogIn_AndClearedByLogOut) {
  const auto log_in = [this](const std::string& body) {
    device.ForgetAnswers();
    device.Answer("/login", body);
    EXPECT_EQ(api.LogIn("a", "b").code_, ServerApi::kOk);
    return api.GetSessionId();
  };
  EXPECT_EQ(log_in(R"({"response":{"opdsSessionId":"S-2"}})"), "S-2");
  EXPECT_EQ(log_in(R"({"response":{"opdsSessionId":20000000001}})"), "20000000001");
  EXPECT_EQ(log_in(R"({"response":{}})"), "");

  device.ForgetJournal();
  EXPECT_EQ(api.LogOut().code_, ServerApi::kOk);
  EXPECT_EQ(device.Journal(), Lines());
  api.SetSessionId("S-3");
  device.Answer("/logout", "{}");
  EXPECT_EQ(api.LogOut().code_, ServerApi::kOk);
  EXPECT_EQ(api.GetSessionId(), "");
}

TEST_F(Server, Switchboard_SignsWhatWasAddedBeforeTheSignature) {
  device.Answer(kSwitchboardUrl, "[1]");
  EXPECT_EQ(std::get<1>(api.CallSwitchboard(kSwitchboardUrl)).ToJson(), Parsed("[1]"));
  EXPECT_EQ(
      device.Journal(),
      (Lines{"key Tw3kH-pL", "sign device_sn=SN-1&nonce=NONCE salt= key=KEY",
             "GET " + kSwitchboardUrl + "?device_sn=SN-1&nonce=NONCE&client_signature=SIGNATURE"}));
  device.serial_number = nullptr;
  EXPECT_THROW(api.CallSwitchboard(kSwitchboardUrl), std::logic_error);
  device.serial_number = "SN-1";
  device.signing_key = nullptr;
  EXPECT_THROW(api.CallSwitchboard(kSwitchboardUrl), std::logic_error);
}

TEST_F(Server, Parameters_ThatDependOnTheArguments) {
  const std::string ids = "opdsSessionId=&storeId=4711";
  api.AddArrayToCart({});
  EXPECT_EQ(Sent(), ids);

  device.ForgetJournal();
  std::map<std::string, int> many;
  std::string fields;
  for (int i = 0; i < 12; ++i) {
    many["9780" + std::to_string(10 + i)] = 1;
    fields += "&ean_" + std::to_string(i) + "=9780" + std::to_string(10 + i) + "&quantity_" +
              std::to_string(i) + "=1";
  }
  api.AddArrayToCart(many);
  EXPECT_EQ(Sent(), ids + fields);

  for (const char* method : {"PAYPAL", "ccard", "CCARD ", ""}) {
    device.ForgetJournal();
    api.SubmitOrder("O", method);
    EXPECT_EQ(Sent(), "orderId=O&storeId=4711&opdsSessionId=");
    device.ForgetJournal();
    api.commitOrderForPayment("O", method);
    EXPECT_EQ(Sent(), std::string("opdsSessionId=&orderId=O&storeId=4711&paymethod=") + method);
  }
  device.ForgetJournal();
  api.commitOrderForPayment("O", "CCARD");
  const std::string page = "http://" QUIRE_RETURN_HOST "/QUIRESaltmoor?status=";
  EXPECT_EQ(Sent(), "opdsSessionId=&orderId=O&storeId=4711&paymethod=CCARD&success_url=" + page +
                        "success&cancel_url=" + page + "cancel");

  api.SetConfig(SwitchboardConfig());
  device.ForgetJournal();
  api.GetUserData();
  EXPECT_EQ(Sent(), "storeId=&opdsSessionId=");
}

TEST_F(Server, PaymentState_IsOneOfFourTexts_ElseFailure) {
  const std::pair<const char*, int> rows[] = {{R"("In Progress")", 0},
                                              {R"("Pending")", 1},
                                              {R"("Failure")", 2},
                                              {R"("Success")", 3},
                                              {R"("success")", 2},
                                              {R"("Success ")", 2},
                                              {R"("")", 2},
                                              {"3", 2},
                                              {"null", 2},
                                              {"{}", 2}};
  for (const auto& [json, status] : rows) {
    device.ForgetAnswers();
    device.Answer("/checkOrder", std::string(R"({"response":{"paymentStatus":)") + json + "}}");
    EXPECT_EQ(std::get<1>(api.CheckOrder("O")).status, status) << json;
  }
}

TEST_F(Server, PaymentAddress_IsReadAsJsonReadsStrings) {
  const std::pair<const char*, const char*> rows[] = {
      {R"("https://pay/?a=1")", "https://pay/?a=1"},
      {"12", "12"},
      {"18446744073709551615", "18446744073709551615"},
      {"12.5", "12.5"},
      {"true", "true"},
      {"null", ""},
      {"[\"a\"]", ""},
      {"{\"a\":1}", ""}};
  for (const auto& [json, url] : rows) {
    device.ForgetAnswers();
    device.Answer("/commitOrderForPayment",
                  std::string(R"({"response":{"status":12.5,"url":)") + json + "}}");
    const auto commit = api.commitOrderForPayment("O", "PAYPAL");
    EXPECT_EQ(commit.res.code_, ServerApi::kOk);
    EXPECT_EQ(commit.url, url);
    EXPECT_EQ(commit.status, "");
  }
}

TEST_F(Server, Order_HasItsPositionsBesideItsHeader) {
  device.Answer("/submitOrder", R"({"response":{"positions":[{},{}]}})");
  Order order = std::get<1>(api.SubmitOrder("O", "PAYPAL"));
  EXPECT_EQ(order.positions.size(), 2u);
  EXPECT_EQ(order.order_date_placed, "");
  EXPECT_TRUE(order.order.isNull());
  order.FromJson(Parsed(R"({"order":["kept"],"positions":{"a":{}}})"));
  EXPECT_TRUE(order.positions.empty());
  EXPECT_EQ(order.order, Parsed(R"(["kept"])"));
}

TEST(IntToString, IsPlainDecimal) {
  const std::pair<int, const char*> rows[] = {
      {-5, "-5"}, {0, "0"}, {12, "12"}, {INT_MIN, "-2147483648"}, {INT_MAX, "2147483647"}};
  for (const auto& [value, text] : rows) EXPECT_EQ(int_to_string(value), text);
}

}  // namespace
}  // namespace saltmoor::quire
