#include <gmock/gmock.h>

#include <string>

#include "metrics/JLMetricsService.h"
#include "metrics/MetricsFixture.h"

namespace jumplark::testing {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using ::testing::HasSubstr;

class PreviousSessionTest : public ServiceFixture {
 protected:
  PreviousSessionTest() {
    settings.flushEventsHook = [](HttpRequest& request, const std::string&, const std::string& sessionID, const json&) {
      request.headers["Session"] = sessionID;
    };
  }
  void start() {
    restart();
    service->initialize();
    desktop.queues().runPending();
  }
};

TEST_F(PreviousSessionTest, GoesOutUnderItsOwnNameAndIsThenDeleted) {
  start();
  EXPECT_EQ(requestCount(), 0U) << "there is none yet";
  track("a", MetricData{{"n", 1}});
  const std::string session = service->sessionID();
  service->shutdown();
  EXPECT_EQ(json::parse(*desktop.files().contents(kPath)),
            (json{{"session_id", session},
                  {"environment", {{"uuid", "U"}}},
                  {"events", {{{"client_timestamp", 1577836800.0}, {"data", {{"n", 1}}}, {"name", "a"}}}}}));
  settings.environment = {{"uuid", "other"}};
  start();
  EXPECT_NE(service->sessionID(), session);
  ASSERT_EQ(requestCount(), 1U);
  EXPECT_EQ(lastPayload()["session_id"], session);
  EXPECT_EQ(lastPayload()["environment"]["uuid"], "U");
  EXPECT_EQ(names(lastPayload()["events"]), "a");
  EXPECT_EQ(lastRequest().headers.at("Session"), session);
  EXPECT_FALSE(desktop.files().contents(kPath));
  EXPECT_EQ(service->pendingEventCount(), 0U) << "never merged with what is pending";
}

TEST_F(PreviousSessionTest, IsTriedAgainEveryPeriodUntilItGoesThrough) {
  desktop.files().put(kPath, R"({"events":[],"session_id":"S"})");
  goOffline();
  start();
  for (size_t tries = 1; tries < 4; ++tries) {
    EXPECT_EQ(requestCount(), tries);
    EXPECT_TRUE(desktop.files().contents(kPath));
    advance(3599s);
    EXPECT_EQ(requestCount(), tries);
    advance(1s);
  }
  answerWith(200);
  advance(3600s);
  EXPECT_EQ(requestCount(), 5U);
  EXPECT_FALSE(desktop.files().contents(kPath));
  advance(36000s);
  EXPECT_EQ(requestCount(), 5U);
}

TEST_F(PreviousSessionTest, SendsOfADamagedFileWhatThereIsAndLeavesAListAlone) {
  const std::string deep(100000, '[');
  const struct {
    std::string file;
    const char* sent;  ///< without the time; null when nothing is
  } cases[] = {
      {"", "{}"},
      {"{\"events\":[", "{}"},
      {"\xff\xfe", "{}"},
      {"7", "{}"},
      {"{\"events\":" + deep, "{}"},
      {"{\"events\":" + deep + std::string(100000, ']') + "}", "{}"},
      {"{}", "{}"},
      {R"({"events":[{"name":"a"}]})", R"({"events":[{"name":"a"}]})"},
      {R"({"session_id":7,"environment":{"a":1},"more":2})", R"({"environment":{"a":1}})"},
      {R"([{"name":"a"}])", nullptr},
  };
  for (const auto& example : cases) {
    SCOPED_TRACE(example.file.substr(0, 40));
    const size_t before = requestCount();
    desktop.files().put(kPath, example.file);
    takeLog();
    start();
    advance(7200s);
    if (!example.sent) {
      EXPECT_EQ(requestCount(), before);
      EXPECT_EQ(desktop.files().contents(kPath), example.file);
      EXPECT_EQ(takeLog(), std::string("Exception while unarchiving previous session at path ") + kPath +
                               ": it holds a list, not an object\n");
      continue;
    }
    ASSERT_EQ(requestCount(), before + 1);
    json sent = lastPayload();
    EXPECT_EQ(sent.erase("client_timestamp"), 1U);
    EXPECT_EQ(sent.dump(), example.sent);
    EXPECT_FALSE(desktop.files().contents(kPath));
    EXPECT_EQ(takeLog(), "");
  }
}

TEST_F(PreviousSessionTest, SaysWhatTheDiskRefused) {
  const std::string session = R"({"events":[],"session_id":"S"})";
  const std::string path = kPath;
  desktop.files().put(kPath, session);
  desktop.files().setReadable(false);
  start();
  advance(7200s);
  EXPECT_EQ(requestCount(), 0U);
  EXPECT_EQ(takeLog(), "Exception while unarchiving previous session at path " + path + ": Input/output error\n");
  desktop.files().setReadable(true);
  desktop.files().setWritable(false);
  start();
  EXPECT_EQ(requestCount(), 1U);
  EXPECT_EQ(takeLog(),
            "-[JLMetricsService processPreviousSession] [Line 160] Error occured while attempting to delete "
            "previous session: Read-only file system\n");
  service->shutdown();
  EXPECT_EQ(takeLog(), "Exception while archiving session at path " + path + ": Read-only file system\n");
  EXPECT_EQ(desktop.files().contents(kPath), session);
  desktop.files().setWritable(true);
  settings.environment = {{"locale", "\xff"}};
  start();
  service->shutdown();
  EXPECT_THAT(log.str(), HasSubstr("-[JLMetricsService shutdown] [Line 115] Error serializing JSON on shutdown: "));
}

TEST_F(PreviousSessionTest, AnUploadThatEndsAfterTheShutdownDoesNotDeleteTheNewFile) {
  desktop.files().put(kPath, R"({"events":[],"session_id":"S"})");
  desktop.http().setDelay(20s);
  start();
  advance(10s);
  ASSERT_EQ(requestCount(), 1U);
  track("a");
  service->shutdown();
  advance(7200s);
  EXPECT_EQ(names(json::parse(desktop.files().contents(kPath).value_or("{}"))["events"]), "a");
  EXPECT_EQ(requestCount(), 1U) << "nothing is sent after the shutdown";
  desktop.http().setDelay(0s);
  desktop.http().setResponder([this](const HttpRequest&) {
    service->shutdown();  // as the server is about to say yes
    HttpAnswer accepted;
    accepted.status = 200;
    return accepted;
  });
  start();
  EXPECT_EQ(json::parse(desktop.files().contents(kPath).value_or("{}"))["session_id"], service->sessionID());
  goOffline();
  start();
  service->shutdown();
  const size_t requests = requestCount();
  advance(7200s);
  EXPECT_EQ(requestCount(), requests) << "nor tried again";
}

}  // namespace
}  // namespace jumplark::testing
