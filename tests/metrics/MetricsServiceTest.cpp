#include "metrics/JLMetricsService.h"

#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/spdlog.h>

#include <cmath>

#include "metrics/MetricsFixture.h"

namespace jumplark::testing {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;

/// The service with a collector, a file and an environment.
class MetricsServiceTest : public MetricsFixture {
 protected:
  MetricsServiceTest() {
    settings.collectorURL = "https://metrics.example.org/events";
    settings.storagePath = kPath;
    settings.environment = {{"uuid", "U"}};
    restart();
  }
  void restart() {
    service = std::make_unique<JLMetricsService>();
    service->setSettings(settings);
  }
  void track(const std::string& name, const std::optional<MetricData>& data = std::nullopt) {
    service->trackEventWithData(name, data);
    desktop.queues().runPending();
  }
  json kept() { return json::parse(desktop.files().contents(kPath).value_or("{}")); }
  /// The pending events, as the file shows them.
  json pending() {
    service->shutdown();
    return kept().value("events", json());
  }

  JLMetricsService::Settings settings;
  std::unique_ptr<JLMetricsService> service;
};

TEST_F(MetricsServiceTest, queuesWhatJSONCanSayAndDropsTheRest) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const std::tuple<const char*, std::optional<MetricData>, const char*> cases[] = {
      {"no data", std::nullopt, "absent"},
      {"numbers and texts", MetricData{{"a", 1}, {"b", 0.5}, {"c", "t\"ü"}, {"d", true}},
       R"({"a":1,"b":0.5,"c":"t\"ü","d":true})"},
      {"numbers that are none", MetricData{{"a", kNaN}, {"b", -kInfinity}}, R"({"a":null,"b":null})"},
      {"numbers that are none, deeper", MetricData{{"element", MetricData{{"w", kInfinity}, {"h", 2}}}},
       R"({"element":{"h":2,"w":null}})"},
      {"numbers that are none in a list", MetricData{{"a", AttributeValue::List{1, kNaN}}}, nullptr},
      {"a packed value", MetricData{{"a", Point{1, 2}}}, nullptr},
      {"a packed value, deeper", MetricData{{"a", MetricData{{"b", AttributeValue::List{Size{1, 2}}}}}}, nullptr},
      {"bytes that are no text", MetricData{{"a", "\xff"}}, nullptr},
  };
  for (const auto& [what, data, expected] : cases) {
    SCOPED_TRACE(what);
    restart();
    track("e", data);
    const json events = pending();
    if (!expected) {
      EXPECT_EQ(events, json::array());
      continue;
    }
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].contains("data") ? events[0]["data"].dump() : "absent", expected);
  }
}

TEST_F(MetricsServiceTest, dropsTheOldestEventsAtTheCap) {
  settings.maxEvents = 5;
  settings.eventsBeforeFlush = 100;
  restart();
  for (const char* name : {"a", "b", "c", "d"}) {
    track(name);
  }
  EXPECT_EQ(service->pendingEventCount(), 4U);
  track("e");
  EXPECT_EQ(service->pendingEventCount(), 4U);
  EXPECT_EQ(names(pending()), "b c d e");
}

TEST_F(MetricsServiceTest, flushesNoMoreOftenThanTheMinimumInterval) {
  track("a");
  EXPECT_FALSE(service->flush()) << "the start counts";
  advance(600s);
  EXPECT_TRUE(service->flush());
  EXPECT_TRUE(service->flush()) << "nothing to send";
  track("b");
  advance(599s);
  EXPECT_FALSE(service->flush());
  advance(1s);
  goOffline();
  EXPECT_FALSE(service->flush());
  EXPECT_EQ(requestCount(), 2U);
  answerWith(200);
  advance(599s);
  EXPECT_FALSE(service->flush()) << "a failed flush counts, an empty one does not";
  EXPECT_EQ(requestCount(), 2U);
  advance(1s);
  EXPECT_TRUE(service->flush());
  EXPECT_EQ(names(lastPayload()["events"]), "b");
}

TEST_F(MetricsServiceTest, keepsEventsThatCameWhileABatchWasSent) {
  settings.preFlushHook = [](JLMetricsService& sender) { sender.trackEventWithData("hook", std::nullopt); };
  restart();
  track("a");
  track("b");
  advance(600s);
  desktop.http().setDelay(20s);
  desktop.queues().mainQueue().postAfter(10s, [this] { service->trackEventWithData("late", std::nullopt); });
  service->queueFlush();
  advance(15s);
  EXPECT_EQ(service->pendingEventCount(), 4U) << "nobody waits for the server";
  advance(15s);
  EXPECT_EQ(names(lastPayload()["events"]), "a b");
  EXPECT_EQ(names(pending()), "hook late");
}

TEST_F(MetricsServiceTest, flushesWhenABatchIsFull) {
  settings.eventsBeforeFlush = 3;
  restart();
  advance(600s);
  track("a");
  track("b");
  EXPECT_EQ(requestCount(), 0U);
  track("c");
  EXPECT_EQ(names(lastPayload()["events"]), "a b c");
}

TEST_F(MetricsServiceTest, takesABatchForAcceptedOnlyWhenTheServerSaysSo) {
  const auto isAccepted = [this] {
    return service->sendEventsWithEnvironmentAndSessionID(json::array(), nullptr, "S");
  };
  for (const auto& [status, accepted] : {std::pair(200, true), {299, true}, {199, false}, {301, false}, {500, false}}) {
    answerWith(status);
    EXPECT_EQ(isAccepted(), accepted) << status;
  }
  answerWith(200);
  desktop.http().setDelay(31s);
  EXPECT_FALSE(isAccepted()) << "too late";
}

/// Begins with what an earlier run left.
class PreviousSession : public MetricsServiceTest {
 protected:
  PreviousSession() {
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

TEST_F(PreviousSession, goesOutUnderItsOwnNameAndIsThenDeleted) {
  desktop.queues().setWallClock(1600000000250ms);
  service->trackEventWithData("a", MetricData{{"n", 1}});
  desktop.queues().setWallClock(1700000000s);  // an event is stamped when it is reported
  desktop.queues().runPending();
  const std::string session = service->sessionID();
  service->shutdown();
  const json left = kept();
  EXPECT_EQ(left, (json{{"session_id", session},
                        {"environment", {{"uuid", "U"}}},
                        {"events", {{{"client_timestamp", 1600000000.25}, {"data", {{"n", 1}}}, {"name", "a"}}}}}));
  settings.environment = {{"uuid", "other"}};
  start();
  EXPECT_NE(service->sessionID(), session);
  ASSERT_EQ(requestCount(), 1U);
  json sent = lastPayload();
  sent.erase("client_timestamp");
  EXPECT_EQ(sent, left);
  EXPECT_EQ(lastRequest().headers.at("Session"), session);
  EXPECT_FALSE(desktop.files().contents(kPath));
}

TEST_F(PreviousSession, isTriedAgainEveryPeriodUntilItGoesThrough) {
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
  answerWith(200, [this] { EXPECT_TRUE(desktop.files().contents(kPath)) << "whoever is killed now sends it again"; });
  advance(3600s);
  EXPECT_EQ(requestCount(), 5U);
  EXPECT_FALSE(desktop.files().contents(kPath));
  advance(36000s);
  EXPECT_EQ(requestCount(), 5U);
}

TEST_F(PreviousSession, sendsOfADamagedFileWhatThereIsAndLeavesAListAlone) {
  const std::string deep(100000, '[');
  // What is sent is given without the time; null when nothing is.
  const std::pair<std::string, const char*> cases[] = {
      {"{\"events\":[", "{}"},
      {"\xff\xfe", "{}"},
      {"7", "{}"},
      {"{\"events\":" + deep + std::string(100000, ']') + "}", "{}"},
      {R"({"session_id":7,"environment":{"a":1},"more":2})", R"({"environment":{"a":1}})"},
      {R"([{"name":"a"}])", nullptr},
  };
  for (const auto& [file, expected] : cases) {
    SCOPED_TRACE(file.substr(0, 40));
    const size_t before = requestCount();
    desktop.files().put(kPath, file);
    start();
    advance(7200s);
    if (!expected) {
      EXPECT_EQ(requestCount(), before);
      EXPECT_EQ(desktop.files().contents(kPath), file);
      continue;
    }
    ASSERT_EQ(requestCount(), before + 1);
    json sent = lastPayload();
    EXPECT_EQ(sent.erase("client_timestamp"), 1U);
    EXPECT_EQ(sent.dump(), expected);
    EXPECT_FALSE(desktop.files().contents(kPath));
  }
}

TEST_F(PreviousSession, logsItsFailures) {
  std::ostringstream log;
  const auto before = spdlog::default_logger();
  spdlog::set_default_logger(
      std::make_shared<spdlog::logger>("test", std::make_shared<spdlog::sinks::ostream_sink_mt>(log, true)));
  spdlog::set_pattern("%v");
  track("e", MetricData{{"a", "\xFF"}});
  answerWith(500);
  service->sendEventsWithEnvironmentAndSessionID(json::array(), nullptr, "S");
  desktop.files().put(kPath, "[]");
  start();
  answerWith(200);
  desktop.files().put(kPath, "{}");
  desktop.files().setWritable(false);
  start();
  spdlog::set_default_logger(before);
  EXPECT_EQ(log.str(),
            "-[JLMetricsService pushEvent:] [Line 213] Error pushing event - not valid JSON object: "
            "{client_timestamp: 1577836800, data: {a: \xFF}, name: e}\n"
            "-[JLMetricsService sendEvents:withEnvironment:andSessionID:] [Line 342] Got a non-200 status code: 500 - "
            "no?way ??\n"
            "-[JLMetricsService sendEvents:withEnvironment:andSessionID:] [Line 343] Request body: "
            "{\"client_timestamp\":1577836800.0,\"events\":[],\"session_id\":\"S\"}\n"
            "Exception while unarchiving previous session at path /home/user/.local/share/jumplark/Metrics.dat: "
            "it holds a list, not an object\n"
            "-[JLMetricsService processPreviousSession] [Line 160] Error occured while attempting to delete previous "
            "session: Read-only file system\n");
}

TEST_F(PreviousSession, anUploadThatEndsAfterTheShutdownDoesNotDeleteTheNewFile) {
  desktop.files().put(kPath, R"({"events":[],"session_id":"S"})");
  desktop.http().setDelay(20s);
  start();
  advance(10s);
  ASSERT_EQ(requestCount(), 1U);
  track("a");
  service->shutdown();
  advance(7200s);
  EXPECT_EQ(names(kept()["events"]), "a");
  EXPECT_EQ(requestCount(), 1U) << "nothing is sent after the shutdown";
  desktop.http().setDelay(0s);
  answerWith(200, [this] { service->shutdown(); });  // as the server is about to say yes
  start();
  EXPECT_EQ(kept()["session_id"], service->sessionID());
}

}  // namespace
}  // namespace jumplark::testing
