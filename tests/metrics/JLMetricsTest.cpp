#include "metrics/JLMetrics.h"

#include <gmock/gmock.h>

#include "metrics/JLMetricsService.h"
#include "metrics/MetricsFixture.h"

namespace jumplark::testing {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;

constexpr const char* kCollector = "https://metrics.example.org";

class JLMetricsTest : public MetricsFixture {
 protected:
  ~JLMetricsTest() override { metrics.shutdown(); }

  void configure(const std::string& address = kCollector) {
    metrics.configure(address);
    desktop.queues().runPending();
  }
  json stored(const char* key) const { return desktop.defaults().storedValue(key); }
  json kept() const { return json::parse(desktop.files().contents(kPath).value_or("null")); }

  JLMetrics& metrics = JLMetrics::sharedInstance();
};

TEST_F(JLMetricsTest, takesTheFlushIntervalFromTheSettings) {
  const std::pair<const char*, double> cases[] = {{"null", 3600},  {"120", 3600},  {"299.9", 3600}, {"300", 300},
                                                  {"900", 900},    {"900.7", 900}, {"-1", 3600},    {"\"900\"", 3600},
                                                  {"[900]", 3600}, {"true", 3600}, {"1e300", 1e300}};
  for (const auto& [stored, seconds] : cases) {
    SCOPED_TRACE(stored);
    desktop.defaults().setValue("MetricsFlushInterval", json::parse(stored));
    configure();
    EXPECT_DOUBLE_EQ(metrics.service()->settings()->secondsBetweenFlushes, seconds);
    EXPECT_DOUBLE_EQ(metrics.service()->settings()->minimumSecondsBetweenFlushes, seconds / 10);
    metrics.shutdown();
  }
}

TEST_F(JLMetricsTest, collectsOnlyWithAnAddressTheSettingAndNoRefusal) {
  // The last is what the file keeps after the shutdown; null for no file.
  const std::tuple<const char*, const char*, const char*, bool, bool, const char*> cases[] = {
      {"nothing set", kCollector, "null", false, true, "e"},
      {"switched off", kCollector, "false", false, false, ""},
      {"no switch at all", kCollector, "\"no\"", false, false, ""},
      {"tracking refused", kCollector, "true", true, false, ""},
      {"no address", "", "true", false, false, nullptr},
  };
  for (const auto& [what, address, setting, refused, active, keptEvents] : cases) {
    SCOPED_TRACE(what);
    desktop.files().remove(kPath);
    desktop.defaults().setValue("UUID", nullptr);
    desktop.defaults().setValue("MetricsEnabled", json::parse(setting));
    desktop.facts().refused = refused;
    JLTrackEvent("too early", std::nullopt);
    configure(address);
    EXPECT_EQ(metrics.isActive(), active);
    desktop.defaults().setValue("MetricsEnabled", !active);
    JLTrackEvent("e", std::nullopt);
    advance(active ? 0h : 24h);
    EXPECT_EQ(metrics.isActive(), active) << "a change takes effect at the next start";
    metrics.shutdown();
    EXPECT_EQ(requestCount(), 0U);
    if (!keptEvents) {
      EXPECT_EQ(kept(), json());
      EXPECT_EQ(stored("UUID"), json()) << "nothing is made up to tell this installation by";
      continue;
    }
    EXPECT_EQ(names(kept()["events"]), keptEvents);
    EXPECT_EQ(kept()["environment"]["uuid"], stored("UUID"));
    EXPECT_EQ(kept()["session_id"].get<std::string>().size(), 36U);
  }
}

TEST_F(JLMetricsTest, describesInstallationProgramAndMachineAndNothingElse) {
  const json first = metrics.getEnvironment();
  EXPECT_EQ(first, (json{{"uuid", "00000000-0000-4000-8000-000000000001"},
                         {"application", {{"bundle_id", "jumplark"}, {"version", "1.2"}, {"build", "34"}}},
                         {"locale", "en_US"},
                         {"os", {{"version", "12"}, {"build", "6.1.0"}}},
                         {"machine", {{"cpu", "Recorded Processor"}, {"core_count", 4}, {"total_memory_mb", 8192}}}}));
  EXPECT_EQ(metrics.getEnvironment(), first) << "the same installation";
  EXPECT_EQ(stored("UUID"), first["uuid"]);
}

TEST_F(JLMetricsTest, signsWithTheNameOfTheHeaderAndTheSession) {
  desktop.files().put(kPath, R"({"session_id":"S"})");
  configure("https://metrics.example.org/collect/");
  ASSERT_EQ(requestCount(), 1U);
  EXPECT_EQ(lastRequest().address, "https://metrics.example.org/collect/events");
  EXPECT_EQ(lastRequest().body, R"({"client_timestamp":1577836800.0,"session_id":"S"})");
  // HMAC-SHA-256 of that body with the key "X-Signature/S", from another implementation.
  EXPECT_EQ(lastRequest().headers.at("X-Signature"), "0QE+izBNntxBPsLwAoYKbLXKpOuPo43TcXRhpKw3xbU=");
}

TEST_F(JLMetricsTest, samplesMemoryEveryHourAndCountsFlushes) {
  configure();
  EXPECT_EQ(metrics.service()->settings()->eventsBeforeFlush, 1000U);
  EXPECT_EQ(metrics.service()->settings()->maxEvents, 5000U);
  advance(3700s);
  desktop.facts().residentMemory = std::nullopt;
  advance(7200s);
  ASSERT_EQ(requestCount(), 2U);
  metrics.shutdown();
  const std::string all = desktop.http().requests().at(0).body + lastRequest().body + kept().dump();
  for (const char* event :
       {R"({"memory_used_bytes":52428800},"name":"memory_usage"})", R"({"memory_used_bytes":0},"name":"memory_usage"})",
        R"({"event_count":2},"name":"flush"})" /* of the batch before it */}) {
    EXPECT_THAT(all, ::testing::HasSubstr(event));
  }
}

}  // namespace
}  // namespace jumplark::testing
