// Why a call failed, as a value: of every call, and beside a result that says nothing.

#include "failure.h"

#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "on_device.h"
#include "store_calls.h"

namespace saltmoor::quire {

bool operator==(const Failure& a, const Failure& b) {
  return a.kind == b.kind && a.transport_error == b.transport_error &&
         a.http_status == b.http_status && a.message == b.message;
}

void PrintTo(const Failure& failure, std::ostream* out) {
  *out << "kind " << failure.kind << ", transport error " << failure.transport_error
       << ", HTTP status " << failure.http_status << ", '" << failure.message << "'";
}

namespace {

const Failure kNothing;
const Failure kUnreachable{Failure::kNetwork, 6, 0, ""};
const std::string kRefusal = R"({"error":"true","response":{"ErrorMsg":"no","errorMsg":"no"}})";

Failure Of(Failure::Kind kind) {
  return {kind, 0, 0, ""};
}

class ServerFailure : public OnDevice {
 protected:
  ServerApi api;

  Failure After(const StoreCall& call, const std::string& body, long status = 200) {
    device.AnswerOnly(call.path, body, status);
    return After(call);
  }
  Failure After(const StoreCall& call) {
    api.SetSessionId(kSession);
    std::string payload;
    call.make(api, &payload);
    return api.GetLastFailure();
  }
};

TEST_F(ServerFailure, IsRecordedByEveryCall) {
  for (const StoreCall& call : kStoreCalls) {
    SCOPED_TRACE(call.name);
    const bool shop = call.path != kSwitchboardUrl;
    const bool list = call.path == "/getUserEbook";
    device.ForgetAnswers();
    EXPECT_EQ(After(call), kUnreachable);
    EXPECT_EQ(After(call, call.answer), kNothing);
    for (const int status : {0, 204, 503}) {
      EXPECT_EQ(After(call, kRefusal, status), (Failure{Failure::kHttpStatus, 0, status, ""}));
    }
    for (const char* body : {"", "<html>", "null", "[]", "\"{}\"", "{\"response\":"}) {
      EXPECT_EQ(After(call, body), Of(Failure::kUnreadableAnswer)) << body;
    }
    for (const char* body : {"{}", R"({"response":null})", R"({"response":{}})"}) {
      EXPECT_EQ(After(call, body), list ? Of(Failure::kUnreadableAnswer) : kNothing) << body;
    }
    EXPECT_EQ(After(call, kRefusal), shop ? (Failure{Failure::kRefused, 0, 0, "no"}) : kNothing);
    EXPECT_EQ(After(call, R"({"error":true})"), shop ? Of(Failure::kRefused) : kNothing);
  }
}

TEST_F(ServerFailure, IsClearedByLogOutWithoutSession) {
  api.GetUserData();
  EXPECT_EQ(api.GetLastFailure(), kUnreachable);
  api.SetSessionId("");
  api.SetConfig(SwitchboardConfig());
  EXPECT_EQ(api.GetLastFailure(), kUnreachable);
  EXPECT_EQ(api.LogOut().code_, ServerApi::kOk);
  EXPECT_EQ(api.GetLastFailure(), kNothing);
}

class ManagerFailure : public OnDevice {
 protected:
  const Failure& Last() { return manager().GetLastFailure(); }

  void CommitOrder(const std::string& answer) {
    device.AnswerOnly("/commitOrderForPayment", answer);
    manager().StartPayment("PAYPAL");
  }
};

TEST_F(ManagerFailure, IsTheFirstOfANestedCall) {
  device.Answer("/login", kRefusal);
  device.Answer("/getUserEbook", "", 500);
  device.Answer(kSwitchboardUrl, kSwitchboardAnswer);
  device.config["user_name"] = "anna";
  device.config["secret password"] = kPassword;
  EXPECT_EQ(manager().Init(), 0);
  EXPECT_EQ(Last(), (Failure{Failure::kRefused, 0, 0, "no"}));
  manager().CheckOut();
  EXPECT_EQ(Last(), (Failure{Failure::kRefused, 0, 0, "no"}));
  manager().LoadPurchased();
  EXPECT_EQ(Last(), (Failure{Failure::kHttpStatus, 0, 500, ""}));

  ScriptStart();
  device.Answer("/login", "{}");
  manager().NewSession(nullptr);
  EXPECT_EQ(manager().LogIn("anna", kPassword).code_, ServerApi::kOk);
  EXPECT_EQ(Last(), kNothing);
  device.Answer("/addToCart", "", 404);
  manager().CheckOut();
  EXPECT_EQ(Last(), (Failure{Failure::kHttpStatus, 0, 404, ""}));
  device.Answer("/addToCart", "{}");
  manager().CheckOut();
  EXPECT_EQ(Last(), kUnreachable);
}

TEST_F(ManagerFailure, NamesTheConfigurationFileAndCredentials) {
  device.config_opens = false;
  EXPECT_EQ(manager().Init(), -1);
  EXPECT_EQ(Last(), Of(Failure::kConfigFile));
  manager().LogOut();
  EXPECT_EQ(Last(), kNothing);
  EXPECT_EQ(manager().LogIn("anna", kPassword).code_, ServerApi::kOk);
  EXPECT_EQ(Last(), Of(Failure::kConfigFile));
  manager().LogOut();
  EXPECT_EQ(manager().Register("e@x", kPassword, "", "", "").code_, ServerApi::kOk);
  EXPECT_EQ(Last(), Of(Failure::kConfigFile));
  manager().LogOut();
  EXPECT_EQ(manager().NewSession(nullptr), -1);
  EXPECT_EQ(Last(), Of(Failure::kConfigFile));
  device.config_opens = true;
  EXPECT_EQ(manager().NewSession(nullptr), -1);
  EXPECT_EQ(Last(), Of(Failure::kNoCredentials));
  EXPECT_EQ(manager().Init(), -1);
  EXPECT_EQ(Last(), kUnreachable);
}

TEST_F(ManagerFailure, IsLeftByQuestionsAndClearedByCalls) {
  const auto fail = [this] {
    manager().GetUserData();
    EXPECT_EQ(Last(), kUnreachable);
  };
  fail();
  manager().IsLoggedIn();
  manager().getLogin();
  manager().getPassword();
  manager().GetShopName();
  manager().GetClientId();
  manager().GetBookStatus("1");
  manager().GetBookStatusById("1");
  manager().GetPurchased();
  manager().GetConfig();
  manager().RegisterPushNotification();
  EXPECT_EQ(Last(), kUnreachable);

  const std::function<void()> calls[] = {
      [this] { manager().LogOut(); },
      [this] { manager().AddToCart(BookOf("1")); },
      [this] { manager().RemoveFromCart(BookOf("1")); },
      [this] { manager().RemoveFromCart(0u); },
      [this] { manager().DownloadBookById("1"); },
      [this] { manager().CheckDownloadState(); },
  };
  for (const auto& call : calls) {
    fail();
    call();
    EXPECT_EQ(Last(), kNothing);
  }
}

TEST_F(ManagerFailure, NamesWhatEndedThePayment) {
  EXPECT_EQ(manager().CheckOrderIfNeeded(), -1);
  EXPECT_EQ(Last(), Of(Failure::kNoPendingOrder));
  CommitOrder(kRefusal);
  EXPECT_EQ(Last(), (Failure{Failure::kRefused, 0, 0, "no"}));
  CommitOrder("{}");
  EXPECT_EQ(Last(), Of(Failure::kNoPaymentPage));
  CommitOrder("<html>");
  EXPECT_EQ(Last(), Of(Failure::kUnreadableAnswer));
  device.browser.result = -1;
  CommitOrder(R"({"response":{"url":"https://pay/"}})");
  EXPECT_EQ(Last(), Of(Failure::kBrowser));
  device.browser.result = 0;
  CommitOrder(R"({"response":{"url":"https://pay/"}})");
  EXPECT_EQ(Last(), kNothing);

  for (const char* state : {"In Progress", "Failure"}) {
    device.AnswerOnly("/checkOrder",
                      R"({"response":{"paymentStatus":")" + std::string(state) + R"("}})");
    EXPECT_EQ(manager().CheckPaymentResult().code_, ServerApi::kFailed);
    EXPECT_EQ(Last(), Of(Failure::kPaymentFailed));
  }
  device.AnswerOnly("/checkOrder", "no JSON");
  EXPECT_EQ(manager().CheckPaymentResult().code_, ServerApi::kFailed);
  EXPECT_EQ(Last(), Of(Failure::kUnreadableAnswer));
  device.AnswerOnly("/checkOrder", R"({"response":{"paymentStatus":"Success"}})");
  EXPECT_EQ(manager().CheckPaymentResult().code_, ServerApi::kFailed);
  EXPECT_EQ(Last(), kUnreachable);
  device.Answer("/submitOrder", "{}");
  device.Answer("/getUserEbook", "", 502);
  EXPECT_EQ(manager().CheckPaymentResult().code_, ServerApi::kOk);
  EXPECT_EQ(Last(), (Failure{Failure::kHttpStatus, 0, 502, ""}));
}

TEST_F(ManagerFailure, TellsAnUnknownListFromAnEmptyOne) {
  device.Answer(kSwitchboardUrl, kSwitchboardAnswer);
  EXPECT_FALSE(manager().IsPurchasedKnown());
  Buy("[]");
  EXPECT_TRUE(manager().IsPurchasedKnown());
  manager().LogOut();
  EXPECT_FALSE(manager().IsPurchasedKnown());
  for (const auto& [body, status] : std::initializer_list<std::pair<std::string, long>>{
           {"[]", 500}, {"<html>", 200}, {kRefusal, 200}, {R"({"response":{}})", 200}}) {
    Buy("[]");
    EXPECT_TRUE(manager().IsPurchasedKnown());
    device.AnswerOnly("/getUserEbook", body, status);
    EXPECT_TRUE(manager().LoadPurchased().empty());
    EXPECT_FALSE(manager().IsPurchasedKnown()) << body;
  }
}

TEST_F(ManagerFailure, LeavesTheLastGoodConfigurationInForce) {
  EXPECT_EQ(manager().GetConfig()[SwitchboardConfig::kShopName], "");
  device.Answer(kSwitchboardUrl, kSwitchboardAnswer);
  EXPECT_EQ(manager().ConfigFromServer(), 0);
  device.ForgetAnswers();
  EXPECT_EQ(manager().ConfigFromServer(), -1);
  EXPECT_EQ(Last(), kUnreachable);
  EXPECT_EQ(manager().GetShopName(), "");
  EXPECT_EQ(manager().GetConfig()[SwitchboardConfig::kShopName], "The Shop");
}

class DownloadFailure : public ManagerFailure {
 protected:
  void SetUp() override {
    OnDevice::SetUp();
    Buy(R"([{"orderItemEAN":"A","orderItemAuthor":"M","orderItemTitle":"T"}])");
  }

  /// What the call that ends a download leaves.
  Failure Download() {
    manager().DownloadBookById("A");
    const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (manager().GetBookStatus("A").status == BookStatus::kDownloading &&
           std::chrono::steady_clock::now() < give_up) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      manager().CheckDownloadState();
    }
    return Last();
  }
};

TEST_F(DownloadFailure, IsRecordedByTheCallThatEndsIt) {
  EXPECT_EQ(manager().GetSavedPath(), "");
  device.download.content_type = "application/pdf";
  EXPECT_EQ(Download(), kNothing);
  EXPECT_EQ(manager().GetSavedPath(), "/mnt/ext1/Downloads/M - T.pdf");
  manager().CheckDownloadState();
  EXPECT_EQ(manager().GetSavedPath(), "/mnt/ext1/Downloads/M - T.pdf");
  std::filesystem::remove(manager().GetSavedPath());

  device.download.content_type = "text/html";
  EXPECT_EQ(Download(), Of(Failure::kNotABook));
  EXPECT_EQ(manager().GetSavedPath(), "");

  device.download.content_type = "application/epub+zip";
  Download();
  EXPECT_NE(manager().GetSavedPath(), "");
  std::filesystem::remove(manager().GetSavedPath());
  device.download.result = 1;
  device.download.transport_error = 28;
  device.download.http_status = 404;
  device.ForgetJournal();
  EXPECT_EQ(Download(), (Failure{Failure::kDownload, 28, 404, "no book came"}));
  EXPECT_EQ(manager().GetSavedPath(), "");
  EXPECT_EQ(device.Journal({"status of download"}).size(), 1u);
  manager().CheckDownloadState();
  EXPECT_EQ(Last(), kNothing);
}

TEST_F(DownloadFailure, KeepsTheOldNameWhereTheNewOneIsTaken) {
  std::filesystem::create_directories("/mnt/ext1/Downloads/M - T.pdf/full");
  device.download.content_type = "application/pdf";
  device.download.saved_name = "M - T.bin";
  manager().DownloadBookById("A");
  while (manager().CheckDownloadState() == 1) std::this_thread::yield();
  EXPECT_EQ(manager().GetSavedPath(), "/mnt/ext1/Downloads/M - T.bin");
  EXPECT_TRUE(Exists(manager().GetSavedPath()));
}

}  // namespace
}  // namespace saltmoor::quire
