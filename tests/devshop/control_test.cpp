#include "devshop/running_shop.h"

namespace tests {
namespace {

class DevshopFaults : public RunningShop {};
class DevshopControl : public RunningShop {};

TEST_F(DevshopFaults, ReplacesResponseOnRefuseStatusAndBody) {
  shop_->Arm({{"path", "/login"}, {"fault", "refuse"}, {"body", "Inventory today."}});
  EXPECT_EQ(Refusal("/login", {{"username", kAnna}, {"password", "secret"}}), "Inventory today.");
  const std::string session = LogIn();
  shop_->Arm({{"path", "/getUserEbook"}, {"fault", "refuse"}, {"times", 2}});
  EXPECT_NE(Refusal("/getUserEbook", {{"opdsSessionId", session}}), "");
  EXPECT_NE(Refusal("/getUserEbook", {{"opdsSessionId", session}}), "");
  EXPECT_EQ(Refusal("/getUserEbook", {{"opdsSessionId", session}}), "");

  const Json headers{{"Location", "/x"}};
  const std::tuple<Json, int, std::string> rows[] = {
      {{{"fault", "status"}, {"status", 500}, {"body", "{}"}}, 500, "{}"},
      {{{"fault", "status"}, {"status", 302}, {"headers", headers}}, 302, ""},
      {{{"fault", "body"}, {"body", "[[["}, {"headers", headers}}, 200, "[[["}};
  for (auto [fault, status, body] : rows) {
    fault["path"] = "/";
    shop_->Arm(fault);
    const auto answer = Get("/");
    EXPECT_EQ(answer.status, status);
    EXPECT_EQ(answer.body, body);
    EXPECT_EQ(answer.get_header_value("Location"), fault.contains("headers") ? "/x" : "");
  }
  EXPECT_EQ(shop_->Delivered(), 6);
}

TEST_F(DevshopFaults, TruncatesAndResetsResponses) {
  const std::string whole = Get("/").body;
  const auto received = [&](httplib::Client client) {
    std::string got;
    const auto result = client.Get("/", [&](const char* data, std::size_t size) {
      got.append(data, size);
      return true;
    });
    EXPECT_FALSE(result);
    return got;
  };
  shop_->Arm({{"path", "/"}, {"fault", "truncate"}, {"after_bytes", 700}});
  EXPECT_EQ(received(Client()), whole.substr(0, 700));
  shop_->Arm({{"path", "/"}, {"fault", "reset"}});
  EXPECT_EQ(Get("/").status, -1);
  shop_->Arm({{"path", "/QUIRESaltmoor"}, {"fault", "reset"}, {"after_bytes", 10}});
  EXPECT_FALSE(Client("config").Get("/QUIRESaltmoor"));
  EXPECT_EQ(shop_->Delivered(), 3);

  const Json requests = shop_->Control("/_requests")["requests"];
  EXPECT_EQ(requests.at(2)["fault"], "reset");
  EXPECT_EQ(requests.at(2)["status"], 0) << "nothing was sent";
  EXPECT_EQ(Get("/").body, whole);
}

TEST_F(DevshopFaults, DelaysResponseOnHangAndSlow) {
  shop_->Arm({{"path", "/"}, {"fault", "hang"}, {"delay_ms", 150}});
  auto started = Clock::now();
  EXPECT_EQ(Get("/").status, 200) << "served after the delay";
  EXPECT_GE(Clock::now() - started, std::chrono::milliseconds(150));
  const auto size = Get("/").body.size();
  shop_->Arm({{"path", "/"}, {"fault", "slow"}, {"after_bytes", size - 5}, {"delay_ms", 30}});
  started = Clock::now();
  EXPECT_EQ(Get("/").body.size(), size);
  EXPECT_GE(Clock::now() - started, std::chrono::milliseconds(4 * 30));
  EXPECT_EQ(shop_->Delivered(), 2);
}

TEST_F(DevshopFaults, AppliesToMatchingPathAfterSkip) {
  shop_->Arm({{"path", "/opds/*"}, {"fault", "status"}, {"skip", 1}});
  EXPECT_EQ(Get("/").status, 200);
  EXPECT_EQ(Get("/de/4711/opds/start").status, 200);
  EXPECT_EQ(Get("/de/4711/opds/search.xml").status, 503);
  shop_->Arm({{"path", "/"}, {"fault", "status"}});
  Client("control").Delete("/_faults");
  EXPECT_EQ(Get("/").status, 200);
}

TEST_F(DevshopFaults, RejectsInvalidFaultByFieldName) {
  const std::pair<Json, const char*> rows[] = {
      {{{"path", "/login"}, {"fault", "explode"}}, "explode"},
      {{{"path", "/login"}, {"fault", "hang"}, {"delay", 5}}, "\"delay\""},
      {{{"path", "/login"}, {"fault", "status"}, {"status", "503"}}, "status"},
      {{{"path", "/login"}, {"fault", "hang"}, {"delay_ms", -1}}, "delay_ms"},
      {{{"fault", "hang"}}, "path"},
      {{{"path", "/login"}}, "fault"},
      {{{"path", std::string(201, '[')}, {"fault", "hang"}}, "\"path\" must have"},
      {{{"path", "*a*a*a*a*a"}, {"fault", "hang"}}, "\"path\" must have"},
      {"text", "object"}};
  for (const auto& [fault, named] : rows) {
    const std::string error = shop_->Control("/_faults", fault, 400)["error"];
    EXPECT_NE(error.find(named), std::string::npos) << error;
  }
  const std::string nested(100'000, '[');
  for (const std::string& body : {std::string("{"), nested, "{\"headers\":{\"a\":" + nested,
                                  "{\"path\":" + nested + std::string(100'000, ']') + "}"}) {
    EXPECT_EQ(Client("control").Post("/_faults", body, "application/json")->status, 400);
  }
  EXPECT_EQ(shop_->Control("/_faults")["faults"], Json::array());
}

TEST_F(DevshopControl, RecordsRequestsAsReceived) {
  auto kept = Client();
  kept.set_keep_alive(true);
  kept.Post(kApi + "/login", "storeId=4711&username=%C3%BC+x&%20a=1&username=2", kFormType);
  kept.Get("/de/4711/opds/start?page=2&q=", {{"X-Mark", "here"}});
  Client("config").Get("/nothing");
  const Json requests = shop_->Control("/_requests")["requests"];
  ASSERT_EQ(requests.size(), 3u);
  EXPECT_EQ(requests[0]["form"], Json::parse(R"([["storeId","4711"],["username","ü x"],[" a","1"],
                                                ["username","2"]])"));
  EXPECT_EQ(requests[0]["path"], kApi + "/login");
  EXPECT_EQ(requests[1]["query"], Json::parse(R"([["page","2"],["q",""]])"));
  EXPECT_EQ(requests[1]["headers"]["X-Mark"], "here");
  EXPECT_EQ(requests[1]["connection"], requests[0]["connection"]);
  EXPECT_NE(requests[2]["connection"], requests[0]["connection"]);
  EXPECT_EQ(requests[2]["port"], "config");
  EXPECT_EQ(requests[2]["status"], 404);
  Client("control").Delete("/_requests");
  EXPECT_EQ(shop_->Control("/_requests")["requests"], Json::array());
}

TEST_F(DevshopControl, AnswersOnlyOwnHostAndToken) {
  const std::string own = shop_->Address("control").substr(7), token = shop_->Address("token");
  const std::string port = own.substr(own.find(':')), bearer = "Bearer " + token;
  EXPECT_GE(token.size(), 32u);
  const std::tuple<std::string, std::string, int> rows[] = {
      {own, bearer, 200},
      {"localhost" + port, bearer, 200},
      {"evil.example" + port, bearer, 403},
      {"evil.example", bearer, 403},
      {"127.0.0.1.evil.example" + port, bearer, 403},
      {"127.0.0.1:1", bearer, 403},
      {"localhost", bearer, 403},
      {"shop.quire.example" + port, bearer, 403},
      {own, "", 401},
      {own, token, 401},
      {own, "Basic " + token, 401},
      {own, bearer + "0", 401},
      {own, bearer.substr(0, bearer.size() - 1), 401},
      {own, "Bearer ", 401}};
  for (const auto& [host, authorization, status] : rows) {
    const httplib::Headers headers{{"Host", host}, {"Authorization", authorization}};
    const auto answer = httplib::Client("http://" + own).Delete("/_requests", headers);
    EXPECT_EQ(answer->status, status) << host << " " << authorization;
    EXPECT_EQ(answer->body.find(token), std::string::npos);
  }
  Start();
  EXPECT_NE(shop_->Address("token"), token) << "a token lasts as long as its shop";
}

}  // namespace
}  // namespace tests
