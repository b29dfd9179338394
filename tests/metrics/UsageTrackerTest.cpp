#include <cstdlib>

#include "metrics/JLUsageTracker.h"
#include "metrics/MetricsFixture.h"
#include "support/RecordedMetrics.h"

namespace jumplark::testing {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using Amounts = JLUsageTracker::Amounts;

class UsageTrackerTest : public MetricsFixture {
 protected:
  UsageTrackerTest() {
    inZone("UTC");
    tracker.emplace();
  }
  ~UsageTrackerTest() override { inZone(nullptr); }

  static void inZone(const char* zone) {
    zone ? ::setenv("TZ", zone, 1) : ::unsetenv("TZ");
    ::tzset();
  }
  void restartWith(const char* stored) {
    desktop.defaults().setValue("UsageMetrics", json::parse(stored));
    tracker.reset();
    tracker.emplace();
  }
  static void post(std::map<std::string, std::any> userInfo) {
    NotificationCenter::defaultCenter().post({"TrackUsage", {}, std::move(userInfo)});
  }

  std::optional<JLUsageTracker> tracker;
};

TEST_F(UsageTrackerTest, countsWhatNotificationsSay) {
  RecordedMetrics reported;
  post({{"Type", std::string("elementsActioned")}});
  EXPECT_EQ(tracker->metricsTotal(), Amounts()) << "not registered yet";
  tracker->registerForNotifications();
  post({{"Type", std::string("elementsActioned")}});
  post({{"Type", std::string("elementsActioned")}, {"Amount", uint64_t{2}}});
  post({{"Type", std::string("cursorMovement")}, {"Amount", uint64_t{250}}});
  post({{"Type", std::string("other")}, {"Amount", 0.5}});
  post({{"Amount", 3}});
  EXPECT_EQ(tracker->metricsTotal(), (Amounts{{"cursorMovement", 250}, {"elementsActioned", 3}, {"other", 0.5}}));
  EXPECT_EQ(reported.eventsNamed("cursor_movement"), (std::vector<MetricData>{{{"amount_px", 250.0}}}));
  tracker.reset();
  post({{"Type", std::string("elementsActioned")}});
  EXPECT_THROW(JLUsageTracker::sharedInstance(), std::logic_error);
}

TEST_F(UsageTrackerTest, theTotalGrowsOnTopOfTheStoredDaysWhichStayAsTheyWere) {
  const char* const days =
      R"({"2019-12-29":{"a":5},"2019-12-30":{"a":7,"b":1,"z":0},"2019-12-31":{"a":7},"2020-01-01":{"a":2}})";
  restartWith(days);
  EXPECT_EQ(tracker->metricsTotal(), (Amounts{{"a", 21}, {"b", 1}, {"z", 0}}));
  int announced = 0;
  const Token changes = tracker->observeChanges([&] { ++announced; });
  tracker->recordMetricWithAmount("a", 100);
  EXPECT_EQ(announced, 1);
  EXPECT_EQ(tracker->metricsTotal(), (Amounts{{"a", 121}, {"b", 1}, {"z", 0}}));
  EXPECT_EQ(tracker->metricsForToday(), (Amounts{{"a", 2}}));
  EXPECT_EQ(tracker->metricsForYesterday(), (Amounts{{"a", 7}}));
  EXPECT_EQ(tracker->recordMetrics(), (JLUsageTracker::Records{{"a", {7, "2019-12-30"}}, {"b", {1, "2019-12-30"}}}))
      << "of equal days the first";
  EXPECT_EQ(desktop.defaults().storedValue("UsageMetrics"), json::parse(days));
}

TEST_F(UsageTrackerTest, aNewDayIsStoredWithItsFirstAmount) {
  EXPECT_EQ(tracker->metricsForYesterday(), Amounts());
  tracker->recordMetricWithAmount("a", 1);
  EXPECT_EQ(desktop.defaults().storedValue("UsageMetrics").dump(), R"({"2020-01-01":{}})");
  advance(24h);
  tracker->recordMetricWithAmount("a", 2);
  EXPECT_EQ(desktop.defaults().storedValue("UsageMetrics").dump(), R"({"2020-01-01":{},"2020-01-02":{}})");
  EXPECT_EQ(tracker->metricsTotal(), (Amounts{{"a", 3}}));
}

TEST_F(UsageTrackerTest, daysAreThoseOfTheLocalCalendar) {
  restartWith(R"({"2021-03-27":{"a":27},"2021-03-28":{"a":28},"2021-10-31":{"a":31},"2021-12-31":{"a":1231}})");
  const std::tuple<std::chrono::seconds, const char*, double> cases[] = {
      {1616886000s, "2021-03-28", 27},    // the first moment of a day of 23 hours
      {1616968800s, "2021-03-29", 28},    // the moment after
      {1635721200s, "2021-11-01", 31},    // after a day of 25 hours
      {1640991600s, "2022-01-01", 1231},  // still 2021 elsewhere
  };
  inZone("CET-1CEST,M3.5.0,M10.5.0/3");
  for (const auto& [time, today, yesterday] : cases) {
    desktop.queues().setWallClock(time);
    EXPECT_EQ(tracker->currentDateString(), today);
    EXPECT_EQ(tracker->metricsForYesterday(), (Amounts{{"a", yesterday}})) << today;
  }
}

TEST_F(UsageTrackerTest, whatIsNoCounterCountsNothing) {
  for (const char* stored : {"7", "[1]", "\"text\"", "null"}) {
    restartWith(stored);
    EXPECT_EQ(tracker->metricsTotal(), Amounts()) << stored;
  }
  restartWith(R"({"2019-12-31":5,"2020-01-01":[1],"2019-12-30":{"a":1,"b":"x","c":null},"other":{"a":2}})");
  EXPECT_EQ(tracker->metricsTotal(), (Amounts{{"a", 3}}));
  EXPECT_EQ(tracker->metricsForYesterday(), Amounts());
  tracker->recordMetricWithAmount("a", 1);
  EXPECT_EQ(desktop.defaults().storedValue("UsageMetrics").size(), 4U);
}

}  // namespace
}  // namespace jumplark::testing
