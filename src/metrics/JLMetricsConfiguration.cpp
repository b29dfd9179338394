// How metrics are set up at start-up, what describes the machine, and what is sampled.
#include <fmt/format.h>
#include <spdlog/spdlog.h>

#include <cmath>
#include <string_view>
#include <utility>

#include "metrics/JLMetrics.h"
#include "metrics/JLMetricsService.h"
#include "metrics/MetricEvents.h"
#include "platform/Defaults.h"
#include "platform/FileStore.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "platform/SystemFacts.h"

namespace jumplark {
namespace {

constexpr const char* kEnabledKey = "MetricsEnabled";
constexpr const char* kIntervalKey = "MetricsFlushInterval";
constexpr const char* kInstallationKey = "UUID";
constexpr const char* kSignatureHeader = "X-Signature";

std::string eventsAddress(std::string_view collectorAddress) {
  while (collectorAddress.ends_with('/')) {
    collectorAddress.remove_suffix(1);
  }
  return fmt::format("{}/events", collectorAddress);
}

double flushInterval(Defaults& defaults) {
  constexpr double kShortest = 300;
  constexpr double kUsual = 3600;
  const DefaultsValue stored = defaults.value(kIntervalKey);
  const double seconds = stored.is_number() ? std::trunc(stored.get<double>()) : 0;
  return seconds < kShortest ? kUsual : seconds;
}

/// On while nothing is stored. What is stored but is no boolean counts as a refusal.
bool isEnabled(Defaults& defaults) {
  return defaults.value(kEnabledKey).is_null() || defaults.boolean(kEnabledKey);
}

std::string supportFile(FileStore& files, const char* name) {
  const FileStore::Folder folder = files.applicationSupportDirectory();
  if (folder.path.empty()) {
    spdlog::error("Unable to find or create application support directory:\n{}", folder.problem);
    return {};
  }
  return fmt::format("{}/{}", folder.path, name);
}

void sign(HttpRequest& request, const std::string& payload, const std::string& sessionID) {
  request.headers[kSignatureHeader] = hmacSHA256Base64(fmt::format("{}/{}", kSignatureHeader, sessionID), payload);
}

}  // namespace

JLMetrics::JLMetrics() = default;
JLMetrics::~JLMetrics() = default;

void JLMetrics::configure(const std::string& collectorAddress) {
  if (collectorAddress.empty()) {
    return;
  }
  const Platform& platform = Platform::current();
  collector_ = std::make_shared<JLMetricsService>();
  configureService(collectorAddress);
  if (!isEnabled(*platform.defaults) || platform.facts->trackingRefused()) {
    return;
  }
  activateWithService(collector_);
  collector_->initialize();
  startSampler();
}

void JLMetrics::configureService(const std::string& collectorAddress) {
  const Platform& platform = Platform::current();
  JLMetricsService::Settings settings;
  settings.collectorURL = eventsAddress(collectorAddress);
  settings.secondsBetweenFlushes = flushInterval(*platform.defaults);
  settings.minimumSecondsBetweenFlushes = settings.secondsBetweenFlushes / 10;
  settings.eventsBeforeFlush = 1000;
  settings.maxEvents = 5000;
  settings.storagePath = supportFile(*platform.files, "Metrics.dat");
  settings.environment = getEnvironment();
  settings.flushEventsHook = [](HttpRequest& request, const std::string& payload, const std::string& sessionID,
                                const nlohmann::json&) { sign(request, payload, sessionID); };
  settings.preFlushHook = [](JLMetricsService& service) {
    service.trackEventWithData("flush", MetricData{{"event_count", static_cast<int64_t>(service.pendingEventCount())}});
  };
  collector_->setSettings(std::move(settings));
}

void JLMetrics::startSampler() {
  constexpr Duration kInterval = std::chrono::seconds(3600);
  constexpr Duration kLeeway = std::chrono::seconds(10);
  Queues& queues = *Platform::current().queues;
  metricQueue_ = queues.makeSerialQueue("com.brindlefox.jumplark.metric_queue");
  metricTimer_ = queues.makeRepeatingTimer(*metricQueue_, kInterval, kInterval, kLeeway, [this] { trackMemory(); });
  metricTimer_->resume();
}

void JLMetrics::shutdown() {
  metricTimer_.reset();
  metricQueue_.reset();
  if (!collector_) {
    return;
  }
  collector_->shutdown();
  activateWithService(nullptr);
  collector_.reset();
}

void JLMetrics::trackMemory() {
  const auto bytes = Platform::current().facts->residentMemoryBytes();
  trackEventWithData("memory_usage", MetricData{{"memory_used_bytes", static_cast<int64_t>(bytes.value_or(0))}});
}

nlohmann::json JLMetrics::getEnvironment() {
  const Platform& platform = Platform::current();
  std::string installation = platform.defaults->text(kInstallationKey);
  if (installation.empty()) {
    installation = uuidString(platform.facts->randomBytes());
    platform.defaults->setValue(kInstallationKey, installation);
  }
  const SystemFacts::Application application = platform.facts->application();
  const SystemFacts::OperatingSystem system = platform.facts->operatingSystem();
  const SystemFacts::Machine machine = platform.facts->machine();
  return {
      {"uuid", installation},
      {"application",
       {{"bundle_id", application.bundleIdentifier}, {"version", application.version}, {"build", application.build}}},
      {"locale", platform.facts->localeIdentifier()},
      {"os", {{"version", system.version}, {"build", system.build}}},
      {"machine",
       {{"cpu", machine.cpu}, {"core_count", machine.coreCount}, {"total_memory_mb", machine.memoryBytes >> 20U}}}};
}

std::string builtInCollectorAddress() {
  return JUMPLARK_COLLECTOR_URL;
}

}  // namespace jumplark
