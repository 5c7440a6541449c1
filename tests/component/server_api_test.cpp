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
      for (const std::string& body : {call.response, kRefusal}) {
        EXPECT_EQ(Describe(Make(call, body, status)) + record, "failed");
        EXPECT_EQ(api.GetLastFailure().kind, Failure::kHttpStatus);
        EXPECT_EQ(api.GetLastFailure().http_status, status);
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
      EXPECT_EQ(Describe(Make(call, error + R"("response":[{"orderItemEAN":"1"}]})")) + record,
                "failed");
      EXPECT_EQ(Describe(api.GetLastFailure()), "refused");
    }
    for (const std::string error : {"1", "false", R"("TRUE")", "[true]"}) {
      EXPECT_EQ(Make(call, R"({"error":)" + error + "," + content).code_, 0) << error;
    }
  }
}

TEST_F(ServerApiCall, SucceedsWithEmptyRecordWithoutJson) {
  for (const StoreCall& call : kStoreCalls) {
    const bool list = call.path == "/getUserEbook";
    for (const std::string body : {"", "<html>", "null", "[{}]", "{}", R"({"response":{}})"}) {
      const bool has_content = !list && call.path != kSwitchboardUrl;
      const bool readable = has_content && !body.empty() && body[0] == '{';
      SCOPED_TRACE(std::string(call.name) + " " + body);
      EXPECT_EQ(Describe(Make(call, body)) + record, "ok");
      EXPECT_EQ(Describe(api.GetLastFailure()), readable ? "" : "unreadable");
    }
  }
}

TEST_F(ServerApiCall, LogInSetsAndLogOutClearsSession) {
  for (const auto& [session, id] :
       std::map<std::string, std::string>{{R"({"opdsSessionId":"S-2"})", "S-2"},
                                          {R"({"opdsSessionId":20000000001})", "20000000001"},
                                          {"{}", ""}}) {
    device.SetOnlyResponse("/login", R"({"response":)" + session + "}");
    EXPECT_EQ(api.LogIn("a", "b").code_, ServerApi::kOk);
    EXPECT_EQ(api.GetSessionId(), id);
  }
  api.SetSessionId("S-3");
  device.SetOnlyResponse("/logout", "{}");
  EXPECT_EQ(api.LogOut().code_, ServerApi::kOk);
  EXPECT_EQ(api.GetSessionId(), "");
  api.GetUserData();
  device.ClearCalls();
  EXPECT_EQ(api.LogOut().code_, ServerApi::kOk);
  EXPECT_FALSE(api.GetLastFailure());
  EXPECT_EQ(device.Calls(), Lines());
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

  // More than ten, in the order of their EANs.
  std::map<std::string, int> many;
  std::string fields;
  for (int i = 0; i < 12; ++i) {
    const std::string ean = std::to_string(100 + i), number = std::to_string(i);
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
  const std::pair<std::string, int> rows[] = {{"In Progress", 0}, {"Pending", 1}, {"Failure", 2},
                                              {"Success", 3},     {"success", 2}, {"", 2}};
  for (const auto& [state, status] : rows) {
    device.SetOnlyResponse("/checkOrder", R"({"response":{"paymentStatus":")" + state + R"("}})");
    EXPECT_EQ(std::get<1>(api.CheckOrder("O")).status, status) << state;
  }
}

TEST_F(ServerApiCall, ReadsPaymentPageByJsonConversion) {
  const std::pair<std::string, std::string> rows[] = {
      {"18446744073709551615", "18446744073709551615"},
      {"12.5", "12.5"},
      {"true", "true"},
      {"null", ""},
      {R"(["a"])", ""},
      {R"({"a":1})", ""}};
  for (const auto& [json, url] : rows) {
    device.SetOnlyResponse("/commitOrderForPayment",
                           R"({"response":{"status":12.5,"url":)" + json + "}}");
    const auto commit = api.commitOrderForPayment("O", "PAYPAL");
    EXPECT_EQ(Describe(commit.res) + commit.status + commit.url, "ok" + url);
  }
}

TEST_F(ServerApiCall, ReadsOrderPositionsBesideHeader) {
  Order order;
  order.FromJson(ParseJson(R"({"positions":[{},{}]})"));
  EXPECT_TRUE(order.positions.size() == 2 && order.order.isNull());
  order.FromJson(ParseJson(R"({"order":["kept"],"positions":{"a":{}}})"));
  EXPECT_TRUE(order.positions.empty());
  EXPECT_EQ(order.order, ParseJson(R"(["kept"])"));
}

TEST(IntToString, FormatsDecimalDigits) {
  EXPECT_EQ(int_to_string(12) + int_to_string(INT_MIN), "12-2147483648");
}

}  // namespace
}  // namespace saltmoor::quire
