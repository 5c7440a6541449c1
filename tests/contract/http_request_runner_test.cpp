#include "saltmoor/utilities/http_request_runner.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <chrono>
#include <thread>

#include "support/scripted_server.h"
#include "support/suite.h"

namespace {

using saltmoor::utilities::HttpRequest;
using saltmoor::utilities::HttpRequestRunner;

struct Outcome {
  int error = -1;
  long status = -1;
  std::vector<char> body{'o', 'l', 'd'};
  double seconds = 0;

  std::string text() const { return {body.begin(), body.end()}; }
  bool failed() const { return error > 0 && status == 0 && body.empty(); }
};

Outcome Perform(const HttpRequest& request, unsigned timeout_s = 5) {
  Outcome outcome;
  const auto begin = std::chrono::steady_clock::now();
  outcome.error =
      HttpRequestRunner().PerformRequest(request, &outcome.status, &outcome.body, timeout_s);
  outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  return outcome;
}

Outcome Get(const std::string& address, bool follow = false) {
  HttpRequest request("GET", address);
  request.SetFollowRedirects(follow);
  return Perform(request);
}

std::string Redirect(const std::string& to, int status = 302) {
  return Answer(status, "", {"Location: " + to});
}

TEST(HttpRequestRunner, EncodesParametersInOrder) {
  ScriptedServer server(Answer(200, "yes"));
  HttpRequest request("POST", server.Address("/a?x=1#part"));
  request.AddGetParam("z", "ü&=+ ");
  request.AddGetParam("a", -7);
  request.AddPostParam("pass word", "50% & more");
  request.AddPostParam("b", "");
  request.AddPostParam("b", 2147483647);
  ASSERT_EQ(Perform(request).error, 0);
  ASSERT_EQ(Perform(HttpRequest("POST", server.Address("/empty"))).text(), "yes");

  const Request sent = server.requests().at(0);
  EXPECT_EQ(sent.method, "POST");
  EXPECT_EQ(sent.target, "/a?x=1&z=%C3%BC%26%3D%2B%20&a=-7");
  EXPECT_EQ(sent.body, "pass%20word=50%25%20%26%20more&b=&b=2147483647");
  EXPECT_EQ(sent["content-type"], "application/x-www-form-urlencoded");
  EXPECT_EQ(server.requests().at(1)["content-length"], "0");
}

TEST(HttpRequestRunner, ReturnsAnswersOfAnyStatus) {
  ScriptedServer server([](const Request& request) {
    return Answer(std::stoi(request.target.substr(1)), "body", {"Location: /elsewhere"});
  });
  for (const int status : {200, 302, 401, 404, 500}) {  // redirects are followed only on request
    const Outcome outcome = Get(server.Address("/" + std::to_string(status)));
    EXPECT_EQ(outcome.error, 0);
    EXPECT_EQ(outcome.status, status);
    EXPECT_EQ(outcome.text(), "body");
  }
  const HttpRequest unheard("GET", server.Address("/200"));
  EXPECT_EQ(HttpRequestRunner().PerformRequest(unheard, nullptr, nullptr, 5), 0);
}

TEST(HttpRequestRunner, RejectsInvalidUrlsAndMethods) {
  using namespace std::string_literals;
  for (const std::string& address :
       {""s, "shop.example/x"s, "ftp://127.0.0.1/"s, "file:///etc/passwd"s, "http://"s,
        "http://127.0.0.1/\r\nX: y"s, "http://127.0.0.1/a\0b"s, "http://127.0.0.1:99999/"s}) {
    EXPECT_TRUE(Get(address).failed()) << address;
  }
  ScriptedServer server(Answer(200, ""));
  EXPECT_TRUE(Perform(HttpRequest("PUT", server.Address())).failed());
  EXPECT_TRUE(server.requests().empty());
}

TEST(HttpRequestRunner, TimesOutWhenServerIsSilent) {
  ScriptedServer server([](const Request& request) {
    const bool begun = request.target == "/begun";
    return Reply(begun ? "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf" : "", Then::kHang);
  });
  for (const char* target : {"/begun", "/silent"}) {
    const Outcome outcome = Perform(HttpRequest("GET", server.Address(target)), 1);
    EXPECT_TRUE(outcome.failed()) << target;
    EXPECT_NEAR(outcome.seconds, 1.0, 0.5);
  }
}

TEST(HttpRequestRunner, FailsOnBrokenAnswers) {
  const std::string head = "HTTP/1.1 200 OK\r\n";
  for (const Reply& reply : {Reply(head, Then::kReset), Reply("SSH-2.0 hello\r\n", Then::kClose),
                             Reply(head + "Content-Length: 9\r\n\r\nfew", Then::kClose)}) {
    EXPECT_TRUE(Get(ScriptedServer(reply).Address()).failed()) << reply.bytes;
  }
}

TEST(HttpRequestRunner, FollowsAtMostTenRedirects) {
  ScriptedServer server([](const Request& request) {
    const int left = std::stoi(request.target.substr(1));
    return left == 0 ? Answer(200, "there") : Redirect("/" + std::to_string(left - 1));
  });
  EXPECT_EQ(Get(server.Address("/10"), true).text(), "there");
  EXPECT_TRUE(Get(server.Address("/11"), true).failed());
}

TEST(HttpRequestRunner, NeverFollowsRedirectsFromTls) {
  const Certificate certificate = TrustedCertificate();
  std::string plain_address;
  ScriptedServer encrypted([&](const Request&) { return Redirect(plain_address, 307); },
                           &certificate);
  ScriptedServer plain([&](const Request& request) {
    return request.target == "/up" ? Redirect(encrypted.Address()) : Answer(200, "in the clear");
  });
  plain_address = plain.Address();

  EXPECT_TRUE(Get(encrypted.Address(), true).failed());
  HttpRequest form("POST", encrypted.Address());
  form.SetFollowRedirects(true);
  form.AddPostParam("password", "secret");
  EXPECT_TRUE(Perform(form).failed());
  EXPECT_TRUE(plain.requests().empty());

  EXPECT_TRUE(Get(plain.Address("/up"), true).failed());
  EXPECT_EQ(encrypted.requests().size(), 3u);
  EXPECT_EQ(plain.requests().size(), 1u) << "http, https and http again";
}

TEST(HttpRequestRunner, SendsPostOnceWhenConnectionDies) {
  ScriptedServer server([](const Request& request) -> Reply {
    if (request.target == "/warm") return Answer(200, "");
    // On a connection that was kept; transports like to send a request again on a new one.
    if (request.connection == 1) return Reply("", Then::kClose);
    return Answer(200, "second time");
  });
  ASSERT_EQ(Perform(HttpRequest("POST", server.Address("/warm"))).error, 0);
  Perform(HttpRequest("POST", server.Address("/order")));
  EXPECT_EQ(server.requests().size(), 2u);

  ScriptedServer dying(Reply("", Then::kClose));
  EXPECT_TRUE(Perform(HttpRequest("POST", dying.Address())).failed());
  EXPECT_EQ(dying.requests().size(), 1u);
}

TEST(HttpRequestRunner, SendsPostThroughRedirectsAndAfterIdleClose) {
  ScriptedServer server([](const Request& request) {
    if (request.target == "/moved") return Reply(Redirect("/there", 307));
    return Reply(Answer(200, request.body), Then::kClose);
  });
  HttpRequest moved("POST", server.Address("/moved"));
  moved.SetFollowRedirects(true);
  moved.AddPostParam("a", 1);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Perform(moved).text(), "a=1");
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // the close arrives
  }
  EXPECT_EQ(server.requests().size(), 6u);
}

TEST(HttpRequestRunner, ReturnsEachThreadItsOwnAnswer) {
  ScriptedServer server([](const Request& request) { return Answer(200, request.target); });
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&server, i] {
      for (int k = 0; k < 20; ++k) {
        const std::string target = "/" + std::to_string(i) + "-" + std::to_string(k);
        EXPECT_EQ(Get(server.Address(target)).text(), target);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

/// So many bytes, as gzip packs them.
std::string Gzip(std::size_t size) {
  z_stream stream{};
  deflateInit2(&stream, 9, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
  std::string input(size, 'x');
  std::string packed(size / 100 + 1024, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(input.data());
  stream.avail_in = static_cast<uInt>(input.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  deflate(&stream, Z_FINISH);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

TEST(HttpRequestRunner, DecompressesAnswersUpToLimit) {
  constexpr std::size_t kLimit = 64 << 20;
  const std::string small = Answer(200, Gzip(kLimit), {"Content-Encoding: gzip"});
  const std::string bomb = Answer(200, Gzip(kLimit + 1), {"Content-Encoding: gzip"});
  const std::string undeclared = "HTTP/1.1 200 OK\r\n\r\n" + std::string(kLimit + 1, 'x');
  ScriptedServer server([&](const Request& request) {
    if (request.target == "/small") return Reply(small);
    return request.target == "/bomb" ? Reply(bomb) : Reply(undeclared, Then::kClose);
  });
  EXPECT_EQ(Get(server.Address("/small")).body.size(), kLimit);
  EXPECT_TRUE(Get(server.Address("/bomb")).failed());
  EXPECT_TRUE(Get(server.Address("/undeclared")).failed());
}

TEST(HttpRequestRunner, RefusesBadCertificatesBeforeSending) {
  const struct {
    const char* name;
    Certificate certificate;
  } cases[] = {
      {"of a stranger", MakeCertificate(MakeAuthority("Stranger"), "IP:127.0.0.1")},
      {"for another host", MakeCertificate(TestAuthority(), "DNS:other.example")},
      {"expired", MakeCertificate(TestAuthority(), "IP:127.0.0.1", -7200, -3600)},
      {"not yet valid", MakeCertificate(TestAuthority(), "IP:127.0.0.1", 3600, 7200)},
  };
  for (const auto& [name, certificate] : cases) {
    ScriptedServer server(Answer(200, "trust me"), &certificate);
    EXPECT_TRUE(Get(server.Address()).failed()) << name;
    EXPECT_TRUE(server.requests().empty()) << name;
  }
  const Certificate good = TrustedCertificate();
  EXPECT_EQ(Get(ScriptedServer(Answer(200, "x"), &good).Address()).text(), "x")
      << "does the device trust the authority of the tests, as this_device.h should see to?";
}

}  // namespace
