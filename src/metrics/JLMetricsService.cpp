#include "metrics/JLMetricsService.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <utility>

#include "metrics/MetricEvents.h"
#include "platform/Platform.h"
#include "platform/SystemFacts.h"

namespace jumplark {
namespace {

using nlohmann::json;

/// For the log, also of values that JSON does not have.
std::string description(const MetricData& event) {
  std::string text;
  for (const auto& [key, value] : event) {
    const auto* const nested = value.dictionary();
    text += (text.empty() ? "" : ", ") + key + ": " + (nested ? description(*nested) : value.description());
  }
  return "{" + text + "}";
}

}  // namespace

JLMetricsService::JLMetricsService()
    : queues_(*Platform::current().queues),
      http_(*Platform::current().http),
      files_(*Platform::current().files),
      facts_(*Platform::current().facts),
      sessionID_(generateUUIDString()),
      lastFlushedAt_(monotonicSeconds()),
      settings_(std::make_shared<const Settings>()),
      eventModificationQueue_(queues_.makeSerialQueue("com.brindlefox.metrics.add_event")),
      flushQueue_(queues_.makeSerialQueue("com.brindlefox.metrics.flush")) {}

JLMetricsService::~JLMetricsService() {
  ended_ = true;
  flushTimer_.reset();
  // A flush waits for the other queue, and a push posts to the flush queue: once this queue has come to here, it uses
  // the other no more, so that one can go first.
  const auto idle = queues_.makeCompletion();
  flushQueue_->post([idle] { idle->signal(); });
  idle->wait(Duration::max());
  eventModificationQueue_.reset();
  flushQueue_.reset();
}

void JLMetricsService::setSettings(Settings settings) {
  auto kept = std::make_shared<const Settings>(std::move(settings));
  const std::scoped_lock lock(mutex_);
  settings_.swap(kept);
}

std::shared_ptr<const JLMetricsService::Settings> JLMetricsService::settings() const {
  const std::scoped_lock lock(mutex_);
  return settings_;
}

size_t JLMetricsService::pendingEventCount() const {
  const std::scoped_lock lock(mutex_);
  return pendingEvents_.size();
}

void JLMetricsService::trackEventWithData(const std::string& name, const std::optional<MetricData>& data) {
  MetricData event{{"client_timestamp", fractionalSeconds(queues_.wallClockNow())}, {"name", name}};
  if (data) {
    event["data"] = *data;
  }
  eventModificationQueue_->post([this, event = std::move(event)] { pushEvent(event); });
}

MetricData JLMetricsService::sanitizeEvent(const MetricData& event) {
  return sanitizedData(event);
}

std::string JLMetricsService::generateUUIDString() {
  return uuidString(facts_.randomBytes());
}

void JLMetricsService::pushEvent(const MetricData& event) {
  std::optional<json> sanitized = jsonFromValue(sanitizeEvent(event));
  if (!sanitized) {
    spdlog::error("{} [Line {}] Error pushing event - not valid JSON object: {}", "-[JLMetricsService pushEvent:]", 213,
                  description(event));
    return;
  }
  const auto settings = this->settings();
  size_t count = 0;
  {
    const std::scoped_lock lock(mutex_);
    pendingEvents_.push_back(std::move(*sanitized));
    if (pendingEvents_.size() >= settings->maxEvents) {
      pendingEvents_.erase(pendingEvents_.begin());
    }
    count = pendingEvents_.size();
  }
  if (count >= settings->eventsBeforeFlush) {
    queueFlush();
  }
}

void JLMetricsService::initialize() {
  startTimer();
  flushQueue_->post([this] { processPreviousSession(); });
}

Duration JLMetricsService::fromSeconds(double seconds) {
  constexpr double kLongest = 10.0 * 365 * 24 * 3600;  // far below what a Duration holds
  return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(std::clamp(seconds, 0.0, kLongest)));
}

void JLMetricsService::startTimer() {
  constexpr Duration kLeeway = std::chrono::seconds(60);
  const Duration period = fromSeconds(settings()->secondsBetweenFlushes);
  flushTimer_ = queues_.makeRepeatingTimer(*flushQueue_, period, period, kLeeway, [this] { flush(); });
  flushTimer_->resume();
}

void JLMetricsService::queueFlush() {
  flushQueue_->post([this] { flush(); });
}

uint64_t JLMetricsService::monotonicSeconds() {
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::seconds>(queues_.monotonicNow()).count());
}

bool JLMetricsService::isTooSoon(uint64_t now) const {
  return settings()->minimumSecondsBetweenFlushes > static_cast<double>(now - lastFlushedAt_);
}

/// Without the events themselves when they are not going to be sent: every push beyond a full batch asks for a flush.
std::optional<JLMetricsService::Events> JLMetricsService::snapshotUnless(bool tooSoon) {
  std::optional<Events> snapshot;
  const auto taken = queues_.makeCompletion();
  eventModificationQueue_->post([&] {
    {
      const std::scoped_lock lock(mutex_);
      if (pendingEvents_.empty()) {
        snapshot = Events();
      } else if (!tooSoon) {
        snapshot = pendingEvents_;
      }
    }
    taken->signal();
  });
  taken->wait(Duration::max());
  return snapshot;
}

bool JLMetricsService::flush() {
  if (ended_) {
    return false;
  }
  const uint64_t now = monotonicSeconds();
  std::optional<Events> snapshot = snapshotUnless(isTooSoon(now));
  if (!snapshot || snapshot->empty()) {
    return snapshot.has_value();
  }
  const auto settings = this->settings();
  if (settings->preFlushHook) {
    settings->preFlushHook(*this);
  }
  const size_t count = snapshot->size();
  const bool accepted =
      sendEventsWithEnvironmentAndSessionID(json(std::move(*snapshot)), settings->environment, sessionID_);
  lastFlushedAt_ = now;
  if (accepted) {
    eventModificationQueue_->post([this, count] { dropSent(count); });
  }
  return accepted;
}

void JLMetricsService::dropSent(size_t count) {
  const std::scoped_lock lock(mutex_);
  const auto sent = static_cast<Events::difference_type>(std::min(count, pendingEvents_.size()));
  pendingEvents_.erase(pendingEvents_.begin(), pendingEvents_.begin() + sent);
}

}  // namespace jumplark
