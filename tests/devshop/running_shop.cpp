#include "devshop/running_shop.h"

#include <algorithm>
#include <csignal>

namespace tests {
namespace {

void WriteBooks(const TemporaryDirectory& directory) {
  Json books = Json::array();
  for (int i = 1; i <= 12; ++i) {
    const std::string ean = std::to_string(9000 + i);
    const std::string file = i == 3 ? "ticket.acsm" : "Buch „" + std::to_string(i) + "“.txt";
    std::string content;
    for (int n = 0; n < 500; ++n) content += std::to_string(i * 1000 + n) + ",";
    WriteFile(directory / ("books/" + file), content);
    books.push_back(
        {{"ean", ean},
         {"title", "Töpfern & \"Ton\" <" + std::to_string(i) + ">"},
         {"author", "Ünal Öz"},
         {"language", "de"},
         {"summary", i == 7 ? "Über Glasuren" : "Über Ton"},
         {"subject", "Handwerk"},
         {"price", std::to_string(i) + ".99"},
         {"published", "2021-03-15 14:30:00"},
         {"file", file},
         {"type", i == 3 ? "application/vnd.adobe.adept+xml" : "text/plain; charset=utf-8"},
         {"out_of_sale", i == 5}});
  }
  WriteFile(directory / "books/catalogue.json", Json{{"books", books}}.dump());
  WriteFile(directory / "accounts.json", R"({"accounts":[
      {"email":"anna@quire.example","password":"secret","profile":{"name":"Anna","zip":"20457"},
       "books":[{"ean":"9001","date":"2021-03-15 14:30:00"},{"ean":"9002","orderId":"1"}]},
      {"email":"ben@quire.example","password":"secret"}]})");
}

}  // namespace

Fields CartForm(const std::string& session, const Fields& quantities) {
  Fields form{{"opdsSessionId", session}};
  for (const auto& [ean, quantity] : quantities) {
    const std::string row = std::to_string(form.size() / 2);
    form.emplace_back("ean_" + row, ean);
    form.emplace_back("quantity_" + row, quantity);
  }
  return form;
}

void RunningShop::Start(const Command& options) {
  signal(SIGPIPE, SIG_IGN);  // connections break here on purpose
  if (!Exists(directory_ / "books")) WriteBooks(directory_);
  const Command own{"--books", directory_ / "books", "--accounts", directory_ / "accounts.json"};
  shop_.reset();
  shop_.emplace(own + options);
}

httplib::Client RunningShop::Client(const std::string& port) const {
  httplib::Client client(shop_->Address(port));
  client.set_ca_cert_path(shop_->Address("ca"));
  client.set_read_timeout(5);
  if (port == "control") client.set_bearer_token_auth(shop_->Address("token"));
  return client;
}

httplib::Response RunningShop::Get(const std::string& path, const httplib::Headers& headers) const {
  const auto answer = Client().Get(path, headers);
  return answer ? *answer : httplib::Response();
}

httplib::Response RunningShop::Post(const std::string& path, const Fields& form) const {
  const auto answer = Client().Post(path, httplib::Params(form.begin(), form.end()));
  return answer ? *answer : httplib::Response();
}

Json RunningShop::Call(const std::string& name, const Fields& form) {
  const bool has_store = std::any_of(
      form.begin(), form.end(), [](const auto& field) { return field.first.ends_with("storeId"); });
  const auto answer = Post(kApi + name, has_store ? form : form + Fields{{"storeId", "4711"}});
  if (answer.status != 200) throw std::runtime_error(name + " was not answered");
  return Json::parse(answer.body);
}

std::string RunningShop::Refusal(const std::string& name, const Fields& form) {
  const Json answer = Call(name, form);
  return answer["error"] == "true"
             ? answer["response"].at(name == "/getUserEbook" ? "errorMsg" : "ErrorMsg")
             : "";
}

std::string RunningShop::LogIn(const std::string& user) {
  return Call("/login", {{"username", user}, {"password", "secret"}})["response"]["opdsSessionId"];
}

std::pair<std::string, std::string> RunningShop::Commit(const std::string& session,
                                                        const std::vector<std::string>& eans,
                                                        const Fields& payment) {
  Fields cart;
  for (const auto& ean : eans) cart.emplace_back(ean, "1");
  const std::string order = Call("/addToCart", CartForm(session, cart))["response"]["orderId"];
  const Fields form{{"opdsSessionId", session}, {"orderId", order}};
  const std::string url = Call("/commitOrderForPayment", form + payment).at("response").at("url");
  return {order, url.empty() ? url : url.substr(kHost.size())};
}

void RunningShop::Buy(const std::string& session, const std::vector<std::string>& eans) {
  const auto [order, page] = Commit(session, eans, {{"paymethod", "INVOICE"}});
  EXPECT_EQ(page, "");
  EXPECT_EQ(Refusal("/submitOrder", {{"orderId", order}, {"opdsSessionId", session}}), "");
}

std::string RunningShop::FilePath(const std::string& ean) {
  const Json books = Call("/getUserEbook", {{"opdsSessionId", LogIn()}});
  for (const Json& book : books["response"]) {
    if (book["orderItemEAN"] == ean) {
      return book["orderItemEbookLink"].get<std::string>().substr(kHost.size());
    }
  }
  return {};
}

}  // namespace tests
