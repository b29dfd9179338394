#include "backends/linux/system/CurlHttp.h"

#include <nlohmann/json.hpp>

#include "backends/system/SystemFixture.h"

namespace jumplark {
namespace {

using namespace std::chrono_literals;

/// A real server on a port of this machine: test_server.py, which says what "then" means.
class TestServer {
 public:
  explicit TestServer(const std::string& answer, const std::string& then = "end", const std::string& certificate = {})
      : scheme_(certificate.empty() ? "http://" : "https://") {
    desktop::Arguments arguments = {JUMPLARK_TEST_SERVER, answer, then, certificate};
    arguments.resize(certificate.empty() ? 3 : 4);
    process_ = std::make_unique<desktop::Process>(arguments, desktop::Environment{{"PATH", "/usr/bin:/bin"}},
                                                  folder_.path() + "/server");
    EXPECT_TRUE(desktop::waitUntil([&] { return process_->out().find('\n') != std::string::npos; })) << process_->err();
  }

  std::string port() const { return process_->linesBeginning("").at(0); }
  std::string address(const std::string& host = "127.0.0.1") const { return scheme_ + host + ":" + port(); }
  /// Head and body of each.
  std::vector<std::pair<std::string, std::string>> requests() const {
    std::vector<std::pair<std::string, std::string>> all;
    for (const std::string& line : process_->linesBeginning("[")) {
      const auto request = nlohmann::json::parse(line);
      all.emplace_back(request[0], request[1]);
    }
    return all;
  }

 private:
  testing::TemporaryFolder folder_;
  std::string scheme_;
  std::unique_ptr<desktop::Process> process_;
};

/// Says that with this status.
std::string answering(int status, const std::string& body = {}) {
  return "HTTP/1.1 " + std::to_string(status) + " Answer\r\nContent-Length: " + std::to_string(body.size()) +
         "\r\nSet-Cookie: a=b\r\nLocation: /there\r\nConnection: close\r\n\r\n" + body;
}

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
  /// A file with a certificate that a host has made for itself, and its key.
  std::string certificate(const std::string& host, const std::string& daysLeft = "1") const {
    // Later versions make nothing that is out of date already, unless they are told when it was not.
    constexpr const char* kScript =
        "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -subj /CN=$1 "
        "-addext subjectAltName=DNS:$1 -keyout $0 -out $0.new && { openssl x509 -in $0.new -signkey $0 -days $2 ||"
        " openssl x509 -in $0.new -signkey $0 -not_before 20200101000000Z -not_after 20200102000000Z; } >>$0";
    std::string file = folder_ / (host + daysLeft + ".pem");
    desktop::Process made({"sh", "-c", kScript, file, host, daysLeft}, {{"PATH", "/usr/bin:/bin"}}, file);
    EXPECT_EQ(made.wait(), 0) << made.err();
    return file;
  }

  CurlHttp http_;
};

TEST_F(CurlHttpTest, sendsWhatItIsGivenAndNothingElse) {
  const TestServer server(answering(200, "fine"));
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
  EXPECT_EQ(seen[1].first, "POST /events HTTP/1.1\r\nHost: 127.0.0.1:" + server.port() +
                               "\r\nUser-Agent: jumplark\r\nAccept: */*\r\nContent-Type: application/json\r\n"
                               "X-Signature: a+/=\r\nContent-Length: 100004")
      << "no cookie either, though the server set one";
  EXPECT_EQ(seen[1].second, request.body);
  EXPECT_TRUE(seen[2].first.starts_with("GET /feed.xml?a=b HTTP/1.1\r\n"));
}

TEST_F(CurlHttpTest, answersOfEveryStatusAreAnswers) {
  for (const int status : {204, 301, 404, 500, 503}) {
    const TestServer server(answering(status, "text"));
    const HttpAnswer answer = http_.send(get(server.address()));
    EXPECT_EQ(answer.error, HttpError::none) << answer.problem;
    EXPECT_EQ(answer.status, status);
    EXPECT_EQ(answer.isSuccess(), status == 204);
    EXPECT_EQ(answer.redirection, status == 301 ? server.address() + "/there" : "");
    EXPECT_EQ(server.requests().size(), 1U) << "a redirection is not followed";
  }
}

TEST_F(CurlHttpTest, tellsWhatWentWrong) {
  const TestServer silent("", "stall");
  const TestServer slow("HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\nthe beginning", "stall");
  const TestServer broken("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\nthe beginning");
  const TestServer nonsense("220 ready\r\n");
  const TestServer chatty("HTTP/1.1 200 OK\r\n", "X-More: " + std::string(1000, 'x') + "\r\n");
  const std::string nobody = TestServer("").address();  // the last one, so that no other server gets its port
  const struct {
    const char* what;
    std::string address;
    HttpError error;
    bool encryptedOnly = false;
    std::string signature = "";
  } cases[] = {
      {"nothing listens", nobody, HttpError::unreachable},
      {"never answers", silent.address(), HttpError::timedOut},
      {"answers for ever", slow.address(), HttpError::timedOut},
      {"ends in the middle", broken.address(), HttpError::broken},
      {"is no HTTP", nonsense.address(), HttpError::broken},
      {"headers without end", chatty.address(), HttpError::broken},
      {"is not encrypted", "https://127.0.0.1:" + silent.port(), HttpError::timedOut},
      {"must be", silent.address(), HttpError::badAddress, true},
      {"no address", "", HttpError::badAddress},
      {"not a network address", "file:///etc/passwd", HttpError::badAddress},
      {"not a web address", "ftp://127.0.0.1/", HttpError::badAddress},
      {"two lines", "http://127.0.0.1/\r\nX: y", HttpError::badAddress},
      {"a header of two lines", silent.address(), HttpError::badAddress, false, "a\r\nX-Other: b"},
  };
  for (const auto& example : cases) {
    SCOPED_TRACE(example.what);
    HttpRequest request = get(example.address);
    request.encryptedOnly = example.encryptedOnly;
    request.headers = {{"X-Signature", example.signature}};
    request.timeout = example.error == HttpError::timedOut ? Duration(300ms) : Duration(20s);
    const HttpAnswer answer = http_.send(request);
    EXPECT_EQ(answer.error, example.error) << answer.problem;
    EXPECT_NE(answer.problem, "");
    EXPECT_EQ(answer.status, 0);
  }
}

TEST_F(CurlHttpTest, keepsNoMoreOfAnAnswerThanWanted) {
  const TestServer endless("HTTP/1.1 200 OK\r\n\r\n", std::string(10000, 'x'));
  HttpRequest request = get(endless.address());
  request.answerLimit = 25000;
  const HttpAnswer answer = http_.send(request);
  EXPECT_EQ(answer.error, HttpError::none) << answer.problem;
  EXPECT_TRUE(answer.truncated);
  EXPECT_EQ(answer.body, std::string(25000, 'x'));
  const TestServer exact(answering(200, std::string(25000, 'y')));
  request.address = exact.address();
  EXPECT_FALSE(http_.send(request).truncated);
}

TEST_F(CurlHttpTest, endsWhenItIsCancelled) {
  const TestServer silent("", "stall");
  HttpRequest request = get(silent.address());
  request.timeout = 1h;
  request.isCancelled = [&] { return !silent.requests().empty(); };
  EXPECT_EQ(http_.send(request).error, HttpError::cancelled);
}

TEST_F(CurlHttpTest, trustsOnlyCertificatesThatVerify) {
  const std::string good = certificate("localhost");
  const std::string other = certificate("elsewhere.example.org");
  const std::string outOfDate = certificate("localhost", "-1");
  const struct {
    const char* what;
    std::string shown;
    std::string trusted;  ///< empty: those of the system
    HttpError error;
  } cases[] = {
      {"trusted", good, good, HttpError::none},
      {"of an unknown authority", good, other, HttpError::untrusted},
      {"not of the system's", good, "", HttpError::untrusted},
      {"for another host", other, other, HttpError::untrusted},
      {"out of date", outOfDate, outOfDate, HttpError::untrusted},
  };
  for (const auto& [what, shown, trusted, error] : cases) {
    const TestServer server(answering(200), "end", shown);
    HttpRequest request = get(server.address("localhost"));
    request.encryptedOnly = true;
    const HttpAnswer answer = CurlHttp(trusted).send(request);
    EXPECT_EQ(answer.error, error) << what << ": " << answer.problem;
    EXPECT_EQ(server.requests().size(), error == HttpError::none ? 1U : 0U) << "nothing is said to a stranger";
  }
}

}  // namespace
}  // namespace jumplark
