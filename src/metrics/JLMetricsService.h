#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "metrics/JLMetrics.h"
#include "platform/Http.h"
#include "platform/Queues.h"

namespace jumplark {

class FileStore;
class SystemFacts;

/// Collects events in memory, sends them in batches, each as one signed JSON document, and keeps what it could not send
/// in a file until the next run. What to collect, where to send it and how it is signed come from the settings.
///
/// Two serial queues keep it orderly: "com.brindlefox.metrics.add_event" makes every change of the pending events, and
/// "com.brindlefox.metrics.flush" sends, and blocks while it does. Whoever reports an event never waits for either.
class JLMetricsService : public MetricsService {
 public:
  using PreFlushHook = std::function<void(JLMetricsService& service)>;
  /// May change the request before it is sent.
  using FlushEventsHook = std::function<void(HttpRequest& request, const std::string& payload,
                                             const std::string& sessionID, const nlohmann::json& environment)>;

  struct Settings {
    std::string applicationID;  ///< reserved
    std::string collectorURL;
    nlohmann::json environment;             ///< of machine and build, sent with every batch; null for none
    std::string storagePath;                ///< empty: nothing is kept between runs
    uint32_t eventsBeforeFlush = 1000;      ///< as many pending events ask for a flush
    uint32_t maxEvents = 5 * 1000;          ///< a push that reaches as many drops the oldest
    double secondsBetweenFlushes = 3600.0;  ///< period of the timer, and pause before a retry
    double minimumSecondsBetweenFlushes = 600.0;
    PreFlushHook preFlushHook;
    FlushEventsHook flushEventsHook;
  };

  /// Uses the queues, network, files and facts of the platform that is installed now.
  JLMetricsService();
  JLMetricsService(const JLMetricsService&) = delete;
  JLMetricsService& operator=(const JLMetricsService&) = delete;
  /// Ends a running request and waits for it.
  ~JLMetricsService() override;

  /// Any thread.
  void setSettings(Settings settings);
  std::shared_ptr<const Settings> settings() const;
  /// Identifies this run of the program.
  const std::string& sessionID() const { return sessionID_; }
  size_t pendingEventCount() const;

  void trackEventWithData(const std::string& name, const std::optional<MetricData>& data) override;
  /// Once, and only when metrics are wanted: starts the flush timer and sends what the run before left.
  void initialize();
  void queueFlush();
  /// Sends what is pending; true when there was nothing or it was accepted. On a background thread that is not the
  /// add_event queue's.
  bool flush();
  /// Writes the pending events to the file, for the next run; nothing is sent any more after that, and a running
  /// request ends. On the main thread, as the program ends.
  void shutdown();

  /// Sends a batch and waits; true when the server accepted it. Null, or no text, leaves the member out.
  bool sendEventsWithEnvironmentAndSessionID(const nlohmann::json& events, const nlohmann::json& environment,
                                             const std::optional<std::string>& sessionID);
  std::string generatePayloadFromEventsWithEnvironmentAndSessionID(const nlohmann::json& events,
                                                                   const nlohmann::json& environment,
                                                                   const std::optional<std::string>& sessionID);
  static MetricData sanitizeEvent(const MetricData& event);
  std::string generateUUIDString();

 private:
  using Events = std::vector<nlohmann::json>;

  static Duration fromSeconds(double seconds);
  void pushEvent(const MetricData& event);
  void startTimer();
  void processPreviousSession();
  void sendPreviousSession(const std::string& path, const nlohmann::json& session);
  void removePreviousSession(const std::string& path);
  bool isTooSoon(uint64_t now) const;
  std::optional<Events> snapshotUnless(bool tooSoon);
  void dropSent(size_t count);
  uint64_t monotonicSeconds();

  Queues& queues_;
  Http& http_;
  FileStore& files_;
  SystemFacts& facts_;
  const std::string sessionID_;
  std::atomic<bool> ended_{false};
  std::atomic<uint64_t> lastFlushedAt_;  ///< whole seconds of the monotonic clock

  mutable std::mutex mutex_;  ///< of the settings and the pending events, leaf
  std::shared_ptr<const Settings> settings_;
  Events pendingEvents_;     ///< oldest first
  std::mutex storageMutex_;  ///< held while the file is replaced or removed, so that neither undoes the other

  std::shared_ptr<TaskQueue> eventModificationQueue_;
  std::shared_ptr<TaskQueue> flushQueue_;
  std::unique_ptr<RepeatingTimer> flushTimer_;
};

}  // namespace jumplark
