#include "server_api.h"

#include <climits>
#include <utility>

#include "fake_device_fixture.h"
#include "store_calls.h"

namespace saltmoor::quire {
namespace {

class ServerApiCall : public FakeDeviceFixture {
 protected:
  ServerApi api;
  std::string record;

  void SetUp() override {
    FakeDeviceFixture::SetUp();
    api.SetConfig(SwitchboardConfig::Parse(ParseJson(kSwitchboardResponse)));
  }

  /// Makes one call in a session, with one response to it.
  ServerApi::Result Make(const StoreCall& call, const std::string& body, long status = 200) {
    SCOPED_TRACE(call.name);
    device.SetOnlyResponse(call.path, body, status);
    return Make(call);
  }
  ServerApi::Result Make(const StoreCall& call) {
    device.ClearCalls();
    api.SetSessionId(kSession);
    ServerApi::Result result;
    std::tie(result, record) = call.make(api);
    return result;
  }

  /// The parameters that the last call sent.
  std::string SentParameters() {
    const std::string line = device.Calls({"POST"}).back();
    return line.substr(line.find(' ', 5) + 1);
  }
};

TEST_F(ServerApiCall, SendsParametersInOrderAndReadsResponse) {
  for (const StoreCall& call : kStoreCalls) {
    SCOPED_TRACE(call.name);
    EXPECT_EQ(Describe(Make(call, call.response)),
              std::string(call.name) == "Register" ? "ok: welcome" : "ok");
    EXPECT_EQ(record, call.record);
    EXPECT_EQ(Describe(api.GetLastFailure()), "");
    EXPECT_EQ(device.Calls({"GET", "POST"}),
              Lines{(call.path[0] == '/' ? "POST " : "GET ") + call.path + call.parameters});
    EXPECT_EQ(device.Calls({"log"}), Lines());
  }
}

TEST_F(ServerApiCall, LogsTransportError) {
  for (const StoreCall& call : kStoreCalls) {
    SCOPED_TRACE(call.name);
    device.ClearResponses();
    EXPECT_EQ(Describe(Make(call)) + record, "failed");
    EXPECT_EQ(Describe(api.GetLastFailure()), "network 6");
    EXPECT_EQ(api.GetSessionId(), kSession);
    EXPECT_EQ(
        device.Calls({"log"}),
        Lines{"log 2 quire_store/src/data/server_api:" + std::to_string(call.log_line) + " " +
              call.function + ": Condition: \"0 == err\", return(\"" + call.returned + "\")]"});
  }
}

TEST_F(ServerApiCall, FailsSilentlyWhenStatusIsNot200) {
  for (const StoreCall& call : kStoreCalls) {
    for (const long status : {0, 201, 204, 302, 404, 500}) {
      SCOPED_TRACE(std::string(call.name) + " " + std::to_string(status));
      for (const std::string& body :
           {call.response, std::string(R"({"error":"true","response":{"ErrorMsg":"x"}})")}) {
        EXPECT_EQ(Describe(Make(call, body, status)) + record, "failed");
        EXPECT_EQ(Describe(api.GetLastFailure()),
                  status == 0 ? "status" : "status " + std::to_string(status));
        EXPECT_EQ(api.GetSessionId(), kSession);
        EXPECT_EQ(device.Calls({"log"}), Lines());
      }
    }
  }
}

TEST_F(ServerApiCall, IsRefusedOnlyWhenErrorIsTrue) {
  const std::string content = R"("response":{"ErrorMsg":"E","errorMsg":"e","opdsSessionId":"S-2",)"
                              R"("orderId":"O","url":"u","order":{},"userId":"U"}})";
  for (const StoreCall& call : kStoreCalls) {
    if (call.path == kSwitchboardUrl) continue;  // whose responses have no such member
    SCOPED_TRACE(call.name);
    const bool list = call.path == "/getUserEbook";
    for (const std::string error : {R"({"error":"true",)", R"({"error":true,)"}) {
      EXPECT_EQ(Describe(Make(call, error + content)) + record, list ? "failed: e" : "failed: E");
      EXPECT_EQ(Describe(api.GetLastFailure()), list ? "refused: e" : "refused: E");
      EXPECT_EQ(api.GetSessionId(), kSession);
      for (const char* rest :
           {R"("x":1})", R"("response":[{"orderItemEAN":"1"}]})", R"("response":5})",
            R"("response":{"ErrorMsg":["E"],"errorMsg":{}}})"}) {
        EXPECT_EQ(Describe(Make(call, error + rest)) + record, "failed") << rest;
        EXPECT_EQ(Describe(api.GetLastFailure()), "refused") << rest;
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

TEST_F(ServerApiCall, SucceedsWithEmptyRecordWithoutJson) {
  for (const StoreCall& call : kStoreCalls) {
    const bool list = call.path == "/getUserEbook";
    const std::pair<const char*, bool> rows[] = {
        {"", false},     {"<html>", false}, {"not json", false},          {"null", false},
        {"[{}]", false}, {"{}", !list},     {R"({"response":{}})", !list}};
    for (const auto& [body, readable] : rows) {
      SCOPED_TRACE(std::string(call.name) + " " + body);
      EXPECT_EQ(Describe(Make(call, body)) + record, "ok");
      EXPECT_EQ(Describe(api.GetLastFailure()), readable ? "" : "unreadable");
    }
  }
}

TEST_F(ServerApiCall, LogInSetsAndLogOutClearsSession) {
  const auto log_in = [this](const std::string& body) {
    device.SetOnlyResponse("/login", body);
    EXPECT_EQ(api.LogIn("a", "b").code_, ServerApi::kOk);
    return api.GetSessionId();
  };
  EXPECT_EQ(log_in(R"({"response":{"opdsSessionId":"S-2"}})"), "S-2");
  EXPECT_EQ(log_in(R"({"response":{"opdsSessionId":20000000001}})"), "20000000001");
  EXPECT_EQ(log_in(R"({"response":{}})"), "");

  api.GetUserData();
  EXPECT_EQ(Describe(api.GetLastFailure()), "network 6");
  device.ClearCalls();
  EXPECT_EQ(api.LogOut().code_, ServerApi::kOk);
  EXPECT_EQ(Describe(api.GetLastFailure()), "");
  EXPECT_EQ(device.Calls(), Lines());
  api.SetSessionId("S-3");
  device.AddResponse("/logout", "{}");
  EXPECT_EQ(api.LogOut().code_, ServerApi::kOk);
  EXPECT_EQ(api.GetSessionId(), "");
}

TEST_F(ServerApiCall, CallSwitchboardAcceptsAnyJsonAndNeedsKey) {
  device.AddResponse(kSwitchboardUrl, "[1]");
  EXPECT_EQ(std::get<1>(api.CallSwitchboard(kSwitchboardUrl)).ToJson(), ParseJson("[1]"));
  for (const char** text : {&device.serial_number, &device.signing_key}) {
    const char* const given = std::exchange(*text, nullptr);
    EXPECT_THROW(api.CallSwitchboard(kSwitchboardUrl), std::logic_error);
    *text = given;
  }
}

TEST_F(ServerApiCall, SendsParametersByArgument) {
  const std::string ids = "opdsSessionId=&storeId=4711";
  api.AddArrayToCart({});
  EXPECT_EQ(SentParameters(), ids);

  std::map<std::string, int> many;
  std::string fields;
  for (int i = 10; i < 22; ++i) {
    const std::string ean = "9780" + std::to_string(i), number = std::to_string(i - 10);
    many[ean] = 1;
    fields += "&ean_" + number + "=" + ean + "&quantity_" + number + "=1";
  }
  api.AddArrayToCart(many);
  EXPECT_EQ(SentParameters(), ids + fields);

  const std::string commit = "opdsSessionId=&orderId=O&storeId=4711&paymethod=";
  for (const std::string method : {"PAYPAL", "ccard", "CCARD ", ""}) {
    api.SubmitOrder("O", method);
    EXPECT_EQ(SentParameters(), "orderId=O&storeId=4711&opdsSessionId=");
    api.commitOrderForPayment("O", method);
    EXPECT_EQ(SentParameters(), commit + method);
  }
  api.commitOrderForPayment("O", "CCARD");
  EXPECT_EQ(SentParameters(), commit + "CCARD" + kReturnPages);

  api.SetConfig(SwitchboardConfig());
  api.GetUserData();
  EXPECT_EQ(SentParameters(), "storeId=&opdsSessionId=");
}

TEST_F(ServerApiCall, TreatsUnknownPaymentStateAsFailure) {
  const auto status_of = [this](const std::string& json) {
    device.SetOnlyResponse("/checkOrder", R"({"response":{"paymentStatus":)" + json + "}}");
    return std::get<1>(api.CheckOrder("O")).status;
  };
  EXPECT_EQ(status_of(R"("In Progress")"), 0);
  EXPECT_EQ(status_of(R"("Pending")"), 1);
  EXPECT_EQ(status_of(R"("Success")"), 3);
  for (const char* json :
       {R"("Failure")", R"("success")", R"("Success ")", R"("")", "3", "null", "{}"}) {
    EXPECT_EQ(status_of(json), 2) << json;
  }
}

TEST_F(ServerApiCall, ReadsPaymentPageByJsonConversion) {
  const auto expect_url = [this](const std::string& json, const std::string& url) {
    device.SetOnlyResponse("/commitOrderForPayment",
                           R"({"response":{"status":12.5,"url":)" + json + "}}");
    const auto commit = api.commitOrderForPayment("O", "PAYPAL");
    EXPECT_EQ(commit.res.code_, ServerApi::kOk);
    EXPECT_EQ(commit.url, url);
    EXPECT_EQ(commit.status, "");
  };
  for (const char* itself : {"12", "18446744073709551615", "12.5", "true"}) {
    expect_url(itself, itself);
  }
  for (const char* nothing : {"null", "[\"a\"]", "{\"a\":1}"}) expect_url(nothing, "");
  expect_url(R"("https://pay/?a=1")", "https://pay/?a=1");
}

TEST_F(ServerApiCall, ReadsOrderPositionsBesideHeader) {
  device.AddResponse("/submitOrder", R"({"response":{"positions":[{},{}]}})");
  Order order = std::get<1>(api.SubmitOrder("O", "PAYPAL"));
  EXPECT_EQ(order.positions.size(), 2u);
  EXPECT_EQ(order.order_date_placed, "");
  EXPECT_TRUE(order.order.isNull());
  order.FromJson(ParseJson(R"({"order":["kept"],"positions":{"a":{}}})"));
  EXPECT_TRUE(order.positions.empty());
  EXPECT_EQ(order.order, ParseJson(R"(["kept"])"));
}

TEST(IntToString, FormatsDecimalDigits) {
  EXPECT_EQ(int_to_string(12), "12");
  EXPECT_EQ(int_to_string(INT_MIN), "-2147483648");
}

}  // namespace
}  // namespace saltmoor::quire
