#include "metrics/JLMetricsService.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <optional>

#include "metrics/MetricsFixture.h"

namespace jumplark::testing {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using ::testing::HasSubstr;

class MetricsServiceTest : public ServiceFixture {
 protected:
  MetricsServiceTest() { restart(); }
  /// The pending events, as the file shows them.
  json pending() {
    service->shutdown();
    return json::parse(desktop.files().contents(kPath).value_or("{}")).value("events", json());
  }
};

TEST_F(MetricsServiceTest, QueuesWhatJSONCanSayAndDropsTheRest) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const struct {
    const char* what;
    std::optional<MetricData> data;
    const char* kept;  ///< the data as JSON; null when the event is dropped
  } cases[] = {
      {"no data", std::nullopt, "absent"},
      {"empty data", MetricData{}, "{}"},
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
  for (const auto& example : cases) {
    SCOPED_TRACE(example.what);
    restart();
    takeLog();
    track("e", example.data);
    const json events = pending();
    if (!example.kept) {
      EXPECT_EQ(events, json::array());
      EXPECT_THAT(log.str(), HasSubstr("-[JLMetricsService pushEvent:] [Line 213] Error pushing event - not valid JSON "
                                       "object: {client_timestamp: 1577836800, data: {a: "));
      continue;
    }
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].contains("data") ? events[0]["data"].dump() : "absent", example.kept);
    EXPECT_EQ(log.str(), "");
  }
}

TEST_F(MetricsServiceTest, StampsAnEventWhenItIsReported) {
  desktop.queues().setWallClock(1600000000250ms);
  service->trackEventWithData("e", std::nullopt);
  desktop.queues().setWallClock(1700000000s);
  desktop.queues().runPending();
  EXPECT_EQ(pending(), json::parse(R"([{"client_timestamp":1600000000.25,"name":"e"}])"));
}

TEST_F(MetricsServiceTest, DropsTheOldestEventsAtTheCap) {
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

TEST_F(MetricsServiceTest, FlushesNoMoreOftenThanTheMinimumInterval) {
  advance(10000s);
  EXPECT_TRUE(service->flush()) << "nothing to send";
  track("a");
  EXPECT_TRUE(service->flush()) << "an empty flush does not count";
  track("b");
  advance(599s);
  EXPECT_FALSE(service->flush());
  EXPECT_EQ(requestCount(), 1U);
  advance(1s);
  goOffline();
  EXPECT_FALSE(service->flush());
  EXPECT_EQ(requestCount(), 2U);
  answerWith(200);
  advance(599s);
  EXPECT_FALSE(service->flush()) << "a failed flush counts";
  EXPECT_EQ(requestCount(), 2U);
  advance(1s);
  EXPECT_TRUE(service->flush());
  EXPECT_EQ(names(lastPayload()["events"]), "b");
  restart();
  track("c");
  EXPECT_FALSE(service->flush()) << "the start counts";
}

TEST_F(MetricsServiceTest, KeepsEventsThatCameWhileABatchWasSent) {
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

TEST_F(MetricsServiceTest, FlushesByTimerAndWhenABatchIsFull) {
  settings.eventsBeforeFlush = 3;
  settings.minimumSecondsBetweenFlushes = 360;
  restart();
  service->initialize();
  track("a");
  advance(3599s);
  EXPECT_EQ(requestCount(), 0U);
  advance(61s);
  EXPECT_EQ(requestCount(), 1U);
  track("b");
  track("c");
  advance(360s);
  EXPECT_EQ(requestCount(), 1U);
  track("d");
  EXPECT_EQ(requestCount(), 2U);
  EXPECT_EQ(names(lastPayload()["events"]), "b c d");
}

TEST_F(MetricsServiceTest, TellsTheLogWhyABatchWasNotAccepted) {
  const char* kSend = "-[JLMetricsService sendEvents:withEnvironment:andSessionID:] ";
  const auto send = [this] { return service->sendEventsWithEnvironmentAndSessionID(json::array(), nullptr, "S"); };
  for (const int32_t status : {200, 204, 299}) {
    answerWith(status);
    EXPECT_TRUE(send()) << status;
  }
  EXPECT_EQ(takeLog(), "");
  for (const int32_t status : {199, 301, 404, 500}) {
    answerWith(status, "no\nway \xc3\xbc");
    EXPECT_FALSE(send()) << status;
    EXPECT_EQ(takeLog(), std::string(kSend) + "[Line 342] Got a non-200 status code: " + std::to_string(status) +
                             " - no?way ??\n" + kSend + "[Line 343] Request body: " + lastRequest().body + "\n");
  }
  goOffline();
  EXPECT_FALSE(send());
  EXPECT_EQ(takeLog(), std::string(kSend) + "[Line 337] Error while sending metrics: there is no network\n");
  answerWith(200);
  desktop.http().setDelay(31s);
  EXPECT_FALSE(send());
  EXPECT_EQ(takeLog(), std::string(kSend) + "[Line 337] Error while sending metrics: the request timed out\n");
}

TEST_F(MetricsServiceTest, SendsThatSerialisingFailedWhenItDoes) {
  EXPECT_TRUE(service->sendEventsWithEnvironmentAndSessionID(json::array({"a"}), {{"locale", "\xff"}}, "S"));
  json sent = lastPayload();
  EXPECT_THAT(sent["events"][0]["data"]["error"].get<std::string>(), HasSubstr("UTF-8"));
  sent["events"][0]["data"]["error"] = "";
  EXPECT_EQ(sent.dump(), R"({"events":[{"data":{"error":""},"name":"serialisation_failure"}],"session_id":"S"})");
  EXPECT_THAT(log.str(), HasSubstr("Error while serialising JSON: "));
}

}  // namespace
}  // namespace jumplark::testing
