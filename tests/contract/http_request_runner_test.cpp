#include "saltmoor/utilities/http_request_runner.h"

#include <zlib.h>

#include <thread>

#include "support/scripted_server.h"
#include "support/suite.h"
#include "this_device.h"

namespace {

using saltmoor::utilities::HttpRequest;
using saltmoor::utilities::HttpRequestRunner;
using Error = HttpRequestRunner::Error;

struct Result {
  int error = -1;
  long status = -1;
  std::vector<char> body{'o', 'l', 'd'};
  double seconds = 0;

  std::string text() const { return {body.begin(), body.end()}; }
  bool FailedWith(Error cause) const {
    const bool right_cause = this_device::kReturnsNamedErrors ? error == cause : error > 0;
    return right_cause && status == 0 && body.empty();
  }
};

Result Perform(const HttpRequest& request, unsigned timeout_s = 30) {
  Result result;
  const Stopwatch time;
  result.error =
      HttpRequestRunner().PerformRequest(request, &result.status, &result.body, timeout_s);
  result.seconds = time.seconds();
  return result;
}

Result Get(const std::string& url) {
  return Perform(HttpRequest("GET", url));
}

Result Follow(const std::string& url) {
  HttpRequest request("GET", url);
  request.SetFollowRedirects(true);
  return Perform(request);
}

Result FollowWithForm(const std::string& url) {
  HttpRequest request("POST", url);
  request.SetFollowRedirects(true);
  request.AddPostParam("password", "secret");
  return Perform(request);
}

std::string Redirect(const std::string& to, int status = 302) {
  return MakeResponse(status, "", {"Location: " + to});
}

TEST(HttpRequestRunner, EncodesParametersInOrder) {
  ScriptedServer server(MakeResponse(200, "yes"));
  HttpRequest request("POST", server.Url("/a?x=1#part"));
  request.AddGetParam("z", "ü&=+ ");
  request.AddGetParam("a", -7);
  request.AddPostParam("pass word", "50% & more");
  request.AddPostParam("b", "");
  request.AddPostParam("b", 2147483647);
  ASSERT_EQ(Perform(request).error, 0);
  ASSERT_EQ(Perform(HttpRequest("POST", server.Url("/empty"))).text(), "yes");

  const Request sent = server.requests().at(0);
  EXPECT_EQ(sent.method, "POST");
  EXPECT_EQ(sent.target, "/a?x=1&z=%C3%BC%26%3D%2B%20&a=-7");
  EXPECT_EQ(sent.body, "pass%20word=50%25%20%26%20more&b=&b=2147483647");
  EXPECT_EQ(sent["content-type"], "application/x-www-form-urlencoded");
  EXPECT_EQ(server.requests().at(1)["content-length"], "0");

  request.AddPostParam("large", std::string(2 << 20, 'x'));
  ASSERT_EQ(Perform(request).error, 0);
  EXPECT_EQ(server.requests().at(2)["expect"], "") << "a server may ignore it";
}

TEST(HttpRequestRunner, ReturnsResponsesOfAnyStatus) {
  ScriptedServer server([](const Request& request) {
    return MakeResponse(std::stoi(request.target.substr(1)), "body", {"Location: /elsewhere"});
  });
  for (const int status : {200, 302, 401, 404, 500}) {  // redirects are not followed by default
    const Result result = Get(server.Url("/" + std::to_string(status)));
    EXPECT_EQ(result.error, 0);
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(result.text(), "body");
  }
  const HttpRequest unheard("GET", server.Url("/200"));
  EXPECT_EQ(HttpRequestRunner().PerformRequest(unheard, nullptr, nullptr, 5), 0);
}

TEST(HttpRequestRunner, SendsAndReturnsHeaders) {
  ScriptedServer server([](const Request& request) {
    if (request.target == "/moved") {
      return MakeResponse(302, "", {"Location: /there", "ETag: old"});
    }
    return MakeResponse(304, "", {"ETag: \"1\"", "X-Twice: a", "x-twice: b", "X-Empty:"});
  });
  HttpRequest request("GET", server.Url("/moved"));
  request.SetFollowRedirects(true);
  request.AddHeader("If-None-Match", "\"1\", \"2\"");
  HttpRequestRunner::Response response;
  ASSERT_EQ(HttpRequestRunner().PerformRequest(request, &response, 5), 0);
  EXPECT_EQ(response.status, 304);
  EXPECT_EQ(response.url, server.Url("/there"));
  EXPECT_EQ(response.headers["etag"], "\"1\"") << "of the last response";
  EXPECT_EQ(response.headers["x-twice"], "a, b");
  EXPECT_EQ(response.headers.count("x-empty"), 1u);
  EXPECT_EQ(response.headers.count("location"), 0u);
  for (const Request& sent : server.requests()) {
    EXPECT_EQ(sent["if-none-match"], "\"1\", \"2\"");
  }

  using namespace std::string_literals;
  const std::pair<std::string, std::string> invalid[] = {
      {"", "x"}, {"A:", "x"}, {"A", "x\r\nB: y"}, {"A\nB", "x"}, {"A", "x\0y"s}};
  for (const auto& [name, value] : invalid) {
    HttpRequest bad("GET", server.Url());
    bad.AddHeader(name, value);
    response.status = 7;
    EXPECT_NE(HttpRequestRunner().PerformRequest(bad, &response, 5), 0) << name;
    EXPECT_EQ(response.status, 0);
  }
  EXPECT_EQ(server.requests().size(), 2u);
}

TEST(HttpRequestRunner, RejectsInvalidUrlsAndMethods) {
  using namespace std::string_literals;
  for (const std::string& url :
       {""s, "shop.example/x"s, "ftp://127.0.0.1/"s, "file:///etc/passwd"s, "http://"s,
        "http://127.0.0.1/\r\nX: y"s, "http://127.0.0.1/a\0b"s, "http://127.0.0.1:99999/"s}) {
    EXPECT_TRUE(Get(url).FailedWith(Error::kInvalidRequest)) << url;
  }
  ScriptedServer server(MakeResponse(200, ""));
  EXPECT_TRUE(Perform(HttpRequest("PUT", server.Url())).FailedWith(Error::kInvalidRequest));
  EXPECT_TRUE(server.requests().empty());
}

TEST(HttpRequestRunner, TimesOutWhenServerIsSilent) {
  for (const char* sent : {"", "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf"}) {
    ScriptedServer server(Response(sent, AfterResponse::kHang));
    const Result result = Perform(HttpRequest("GET", server.Url()), 1);
    EXPECT_TRUE(result.FailedWith(Error::kTimedOut)) << sent;
    EXPECT_NEAR(result.seconds, 1.0, 0.5);
  }
}

TEST(HttpRequestRunner, FailsOnBrokenResponses) {
  const std::string head = "HTTP/1.1 200 OK\r\n";
  const std::pair<Response, Error> cases[] = {
      {{"", AfterResponse::kClose}, Error::kConnectionLost},
      {{head, AfterResponse::kReset}, Error::kConnectionLost},
      {{head + "Content-Length: 9\r\n\r\nfew", AfterResponse::kClose}, Error::kConnectionLost},
      {{"SSH-2.0 hello\r\n", AfterResponse::kClose}, Error::kInvalidAnswer},
      {MakeResponse(200, "not packed", {"Content-Encoding: gzip"}), Error::kInvalidAnswer}};
  for (const auto& [response, cause] : cases) {
    EXPECT_TRUE(Get(ScriptedServer(response).Url()).FailedWith(cause)) << response.bytes;
  }
}

TEST(HttpRequestRunner, FollowsAtMostTenRedirects) {
  ScriptedServer server([](const Request& request) {
    const int left = std::stoi(request.target.substr(1));
    return left == 0 ? MakeResponse(200, "there") : Redirect("/" + std::to_string(left - 1));
  });
  EXPECT_EQ(Follow(server.Url("/10")).text(), "there");
  EXPECT_TRUE(Follow(server.Url("/11")).FailedWith(Error::kRedirectRefused));
  for (const char* to : {"ftp://127.0.0.1/", "http://[bad/", "http://127.0.0.1:99999/"}) {
    ScriptedServer elsewhere(Redirect(to));
    EXPECT_TRUE(Follow(elsewhere.Url()).FailedWith(Error::kRedirectRefused)) << to;
  }
  ScriptedServer no_http(Response("SSH-2.0 hello\r\n", AfterResponse::kClose));
  ScriptedServer to_no_http(Redirect(no_http.Url()));
  EXPECT_TRUE(Follow(to_no_http.Url()).FailedWith(Error::kInvalidAnswer));
}

TEST(HttpRequestRunner, NeverFollowsRedirectsFromTls) {
  const Certificate certificate = TrustedCertificate();
  std::string plain_url;
  ScriptedServer encrypted([&](const Request&) { return Redirect(plain_url, 307); }, &certificate);
  ScriptedServer plain([&](const Request& request) {
    return request.target == "/up" ? Redirect(encrypted.Url()) : MakeResponse(200, "in the clear");
  });
  plain_url = plain.Url();

  EXPECT_TRUE(Follow(encrypted.Url()).FailedWith(Error::kRedirectRefused));
  EXPECT_TRUE(FollowWithForm(encrypted.Url()).FailedWith(Error::kRedirectRefused));
  EXPECT_TRUE(plain.requests().empty());
  EXPECT_TRUE(Follow(plain.Url("/up")).FailedWith(Error::kRedirectRefused));
  EXPECT_EQ(encrypted.requests().size(), 3u);
  EXPECT_EQ(plain.requests().size(), 1u) << "http, https and http again";
}

TEST(HttpRequestRunner, NeverSendsFormToAnotherHost) {
  for (const int status : {301, 302, 303, 307, 308}) {
    ScriptedServer other(MakeResponse(200, "other"));
    ScriptedServer same(MakeResponse(200, "same"));
    ScriptedServer server([&](const Request& request) {
      const bool stays = request.target == "/stays";
      return Redirect(stays ? same.Url() : "http://localhost:" + other.port() + "/", status);
    });
    EXPECT_TRUE(FollowWithForm(server.Url()).FailedWith(Error::kRedirectRefused)) << status;
    EXPECT_TRUE(other.requests().empty()) << status;
    EXPECT_EQ(FollowWithForm(server.Url("/stays")).text(), "same") << status;
    EXPECT_EQ(Follow(server.Url()).text(), "other") << status;
  }
}

TEST(HttpRequestRunner, SendsPostOnceWhenConnectionDies) {
  // On a reused connection HTTP libraries send a request again on a new one.
  for (const bool reused : {true, false}) {
    ScriptedServer server([](const Request& request) -> Response {
      if (request.target == "/warm") return MakeResponse(200, "");
      return Response("", AfterResponse::kClose);
    });
    if (reused) Perform(HttpRequest("POST", server.Url("/warm")));
    const Result result = Perform(HttpRequest("POST", server.Url("/order")));
    EXPECT_TRUE(result.FailedWith(Error::kConnectionLost));
    EXPECT_EQ(server.requests().size(), reused ? 2u : 1u);
  }
}

TEST(HttpRequestRunner, SendsPostThroughRedirectsAndAfterIdleClose) {
  ScriptedServer server([](const Request& request) {
    if (request.target == "/moved") return Response(Redirect("/there", 307));
    return Response(MakeResponse(200, request.body), AfterResponse::kClose);
  });
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(FollowWithForm(server.Url("/moved")).text(), "password=secret");
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // the close arrives
  }
  EXPECT_EQ(server.requests().size(), 6u);
}

TEST(HttpRequestRunner, ReturnsResponseToItsThread) {
  ScriptedServer server([](const Request& request) { return MakeResponse(200, request.target); });
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&server, i] {
      for (int k = 0; k < 20; ++k) {
        const std::string target = "/" + std::to_string(i) + "-" + std::to_string(k);
        EXPECT_EQ(Get(server.Url(target)).text(), target);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

/// A response of `size` bytes, compressed.
std::string Gzip(std::size_t size) {
  const TemporaryDirectory directory;
  const std::string bytes(size, 'x');
  const gzFile file = gzopen((directory / "x.gz").c_str(), "w");
  gzwrite(file, bytes.data(), static_cast<unsigned>(size));
  gzclose(file);
  return MakeResponse(200, ReadAll(directory / "x.gz"), {"Content-Encoding: gzip"});
}

TEST(HttpRequestRunner, DecompressesResponsesUpToLimit) {
  constexpr std::size_t kLimit = 64 << 20;
  EXPECT_EQ(Get(ScriptedServer(Gzip(kLimit)).Url()).body.size(), kLimit);
  const std::string undeclared = "HTTP/1.1 200 OK\r\n\r\n" + std::string(kLimit + 1, 'x');
  for (const Response& response :
       {Response(Gzip(kLimit + 1)), Response(undeclared, AfterResponse::kClose)}) {
    EXPECT_TRUE(Get(ScriptedServer(response).Url()).FailedWith(Error::kAnswerTooLarge));
  }
}

TEST(HttpRequestRunner, RefusesBadCertificatesBeforeSending) {
  const std::pair<const char*, Certificate> cases[] = {
      {"of an unknown authority", MakeCertificate(MakeAuthority("Unknown"), "IP:127.0.0.1")},
      {"for another host", MakeCertificate(TestAuthority(), "DNS:other.example")},
      {"expired", MakeCertificate(TestAuthority(), "IP:127.0.0.1", -7200, -3600)},
      {"not yet valid", MakeCertificate(TestAuthority(), "IP:127.0.0.1", 3600, 7200)},
  };
  for (const auto& [name, certificate] : cases) {
    ScriptedServer server(MakeResponse(200, "x"), &certificate);
    EXPECT_TRUE(Get(server.Url()).FailedWith(Error::kCertificateNotTrusted)) << name;
    EXPECT_TRUE(server.requests().empty()) << name;
  }
  const Certificate good = TrustedCertificate();
  EXPECT_EQ(Get(ScriptedServer(MakeResponse(200, "x"), &good).Url()).text(), "x")
      << "this_device.h must make the device trust the authority of the tests";
}

}  // namespace
