#include "backends/linux/system/CurlHttp.h"

#include <gtest/gtest.h>

#include <chrono>

#include "backends/system/SystemFixture.h"
#include "backends/system/TestServer.h"

namespace jumplark {
namespace {

using namespace std::chrono_literals;

class CurlHttpTest : public SystemFixture {
 protected:
  CurlHttpTest() {
    // Requests go where the test says, whatever the environment of the tests.
    for (const char* name : {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"}) {
      ::unsetenv(name);
    }
  }
  static HttpRequest get(const std::string& address) {
    HttpRequest request;
    request.address = address;
    return request;
  }

  CurlHttp http_;
};

TEST_F(CurlHttpTest, SendsWhatItIsGivenAndNothingElse) {
  const TestServer server(TestServer::answering(200, "fine"));
  HttpRequest request = get(server.address() + "/events");
  request.method = HttpMethod::post;
  request.headers = {{"Content-Type", "application/json"}, {"X-Signature", "a+/="}};
  request.body = std::string("{}\0\n", 4) + std::string(100000, 'x');
  for (int time = 0; time < 2; ++time) {
    const HttpAnswer answer = http_.send(request);
    EXPECT_TRUE(answer.isSuccess()) << answer.problem;
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body, "fine");
  }
  EXPECT_TRUE(http_.send(get(server.address() + "/feed.xml?a=b")).isSuccess());
  const auto seen = server.requests();
  ASSERT_EQ(seen.size(), 3U);
  EXPECT_EQ(seen[1].line, "POST /events HTTP/1.1");
  EXPECT_EQ(seen[1].body, request.body);
  EXPECT_EQ(seen[1].headers, "Host: 127.0.0.1:" + std::to_string(server.port()) +
                                 "\r\nUser-Agent: jumplark\r\nAccept: */*\r\nContent-Type: application/json\r\n"
                                 "X-Signature: a+/=\r\nContent-Length: 100004\r\n")
      << "no cookie either, though the server set one";
  EXPECT_EQ(seen[2].line, "GET /feed.xml?a=b HTTP/1.1");
}

TEST_F(CurlHttpTest, AnswersOfEveryStatusAreAnswers) {
  for (const int status : {204, 301, 404, 500, 503}) {
    const TestServer server(TestServer::answering(status, "text"));
    const HttpAnswer answer = http_.send(get(server.address()));
    EXPECT_EQ(answer.error, HttpError::none) << answer.problem;
    EXPECT_EQ(answer.status, status);
    EXPECT_EQ(answer.isSuccess(), status == 204);
    EXPECT_EQ(server.requests().size(), 1U) << "a redirection is not followed";
  }
}

TEST_F(CurlHttpTest, TellsWhatWentWrong) {
  int closedPort = 0;
  { closedPort = TestServer(TestServer::answering(200)).port(); }
  const std::string closed = "127.0.0.1:" + std::to_string(closedPort);
  const TestServer silent([](TestServer::Client& client, const TestServer::Request&) { client.stall(); });
  const TestServer slow([](TestServer::Client& client, const TestServer::Request&) {
    client.send("HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\nthe beginning");
    client.stall();
  });
  const TestServer broken([](TestServer::Client& client, const TestServer::Request&) {
    client.send("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\nthe beginning");
  });
  const TestServer nonsense(
      [](TestServer::Client& client, const TestServer::Request&) { client.send("220 ready\r\n"); });
  const TestServer chatty([](TestServer::Client& client, const TestServer::Request&) {
    client.send("HTTP/1.1 200 OK\r\n");
    while (client.send("X-More: " + std::string(1000, 'x') + "\r\n")) {
    }
  });
  const struct {
    const char* what;
    std::string address;
    HttpError error;
  } cases[] = {
      {"nothing listens", "http://" + closed, HttpError::unreachable},
      {"never answers", silent.address(), HttpError::timedOut},
      {"answers for ever", slow.address(), HttpError::timedOut},
      {"ends in the middle", broken.address(), HttpError::broken},
      {"is no HTTP", nonsense.address(), HttpError::broken},
      {"headers without end", chatty.address(), HttpError::broken},
      {"is not encrypted", "https://127.0.0.1:" + std::to_string(silent.port()), HttpError::timedOut},
      {"no address", "", HttpError::badAddress},
      {"not a network address", "file:///etc/passwd", HttpError::badAddress},
      {"not a web address", "ftp://127.0.0.1/", HttpError::badAddress},
      {"two lines", "http://127.0.0.1/\r\nX: y", HttpError::badAddress},
  };
  for (const auto& example : cases) {
    SCOPED_TRACE(example.what);
    HttpRequest request = get(example.address);
    const bool isMeantToTimeOut = example.error == HttpError::timedOut;
    request.timeout = isMeantToTimeOut ? Duration(300ms) : Duration(20s);
    const HttpAnswer answer = http_.send(request);
    EXPECT_EQ(answer.error, example.error) << answer.problem;
    EXPECT_NE(answer.problem, "");
    EXPECT_EQ(answer.status, 0);
  }
  HttpRequest forged = get(silent.address());
  forged.headers = {{"X-Signature", "a\r\nX-Other: b"}};
  EXPECT_EQ(http_.send(forged).error, HttpError::badAddress);
  HttpRequest plain = get(silent.address());
  plain.encryptedOnly = true;
  EXPECT_EQ(http_.send(plain).error, HttpError::badAddress);
}

TEST_F(CurlHttpTest, KeepsNoMoreOfAnAnswerThanWanted) {
  const TestServer endless([](TestServer::Client& client, const TestServer::Request&) {
    client.send("HTTP/1.1 200 OK\r\n\r\n");
    while (client.send(std::string(10000, 'x'))) {
    }
  });
  HttpRequest request = get(endless.address());
  request.answerLimit = 25000;
  const HttpAnswer answer = http_.send(request);
  EXPECT_EQ(answer.error, HttpError::none) << answer.problem;
  EXPECT_TRUE(answer.truncated);
  EXPECT_EQ(answer.body, std::string(25000, 'x'));
  const TestServer exact(TestServer::answering(200, std::string(25000, 'y')));
  request.address = exact.address();
  EXPECT_FALSE(http_.send(request).truncated);
}

TEST_F(CurlHttpTest, EndsWhenItIsCancelled) {
  const TestServer silent([](TestServer::Client& client, const TestServer::Request&) { client.stall(); });
  HttpRequest request = get(silent.address());
  request.timeout = 1h;
  request.isCancelled = [&] { return !silent.requests().empty(); };
  EXPECT_EQ(http_.send(request).error, HttpError::cancelled);
}

TEST_F(CurlHttpTest, TrustsOnlyCertificatesThatVerify) {
  const TestCertificate good = TestCertificate::make("localhost");
  const TestCertificate other = TestCertificate::make("localhost");
  const TestCertificate wrongHost = TestCertificate::make("elsewhere.example.org");
  const TestCertificate outOfDate = TestCertificate::make("localhost", -1);
  const struct {
    const char* what;
    const TestCertificate& shown;
    const TestCertificate& trusted;
    HttpError error;
  } cases[] = {
      {"trusted", good, good, HttpError::none},
      {"of an unknown authority", good, other, HttpError::untrusted},
      {"for another host", wrongHost, wrongHost, HttpError::untrusted},
      {"out of date", outOfDate, outOfDate, HttpError::untrusted},
  };
  for (const auto& example : cases) {
    SCOPED_TRACE(example.what);
    write(folder_ / "authorities.pem", example.trusted.certificate);
    const TestServer server(TestServer::answering(200), example.shown);
    CurlHttp http((folder_ / "authorities.pem").string());
    HttpRequest request = get(server.address("localhost"));
    request.encryptedOnly = true;
    const HttpAnswer answer = http.send(request);
    EXPECT_EQ(answer.error, example.error) << answer.problem;
    EXPECT_EQ(server.requests().size(), example.error == HttpError::none ? 1U : 0U) << "nothing is said to a stranger";
    EXPECT_EQ(http_.send(request).error, HttpError::untrusted) << "the system trusts none of them";
  }
}

}  // namespace
}  // namespace jumplark
