#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "platform/AttributeValue.h"

namespace jumplark {

class JLMetricsService;
class RepeatingTimer;
class TaskQueue;

/// The data of a metric event: flat, from text to number or text; a dictionary only for "element". It never holds what
/// an application shows or what the user types.
using MetricData = AttributeValue::Dictionary;

/// Where metric events go once metrics are configured.
class MetricsService {
 public:
  virtual ~MetricsService() = default;
  /// Takes one event, stamped with the time of this call. Any thread.
  virtual void trackEventWithData(const std::string& name, const std::optional<MetricData>& data) = 0;
};

/// The front through which every subsystem reports, without knowing whether metrics are on: a report is dropped while
/// `isActive` is false, as it is until metrics are configured. Reports may come from any thread and run on it; all
/// else belongs to the main thread.
class JLMetrics {
 public:
  JLMetrics();
  JLMetrics(const JLMetrics&) = delete;
  JLMetrics& operator=(const JLMetrics&) = delete;
  ~JLMetrics();

  static JLMetrics& sharedInstance();

  void trackEventWithData(const std::string& name, const std::optional<MetricData>& data);

  bool isActive() const { return active_.load(std::memory_order_acquire); }
  /// Starts (or, with null, ends) the delivery of reports. Called at start-up, before the reporting subsystems run.
  void activateWithService(std::shared_ptr<MetricsService> service);

  /// Once at start-up. Collecting and sending start when the setting "MetricsEnabled" is on and the user has not
  /// refused tracking for all programs; a later change takes effect at the next start. Without a collector address
  /// nothing is described, collected, kept or sent. The platform has all its parts and stays until shutdown().
  void configure(const std::string& collectorAddress);
  /// Keeps for the next run what was not sent, and ends everything that configure() started.
  void shutdown();

  /// Reports the memory that this process occupies.
  void trackMemory();
  /// This installation, program and machine; makes the installation's identifier when there is none yet.
  nlohmann::json getEnvironment();
  /// Null unless configured with a collector address.
  std::shared_ptr<JLMetricsService> service() const { return collector_; }

 private:
  void configureService(const std::string& collectorAddress);
  void startSampler();

  mutable std::mutex mutex_;  ///< of the pointer alone
  std::shared_ptr<MetricsService> service_;
  std::atomic<bool> active_{false};

  std::shared_ptr<JLMetricsService> collector_;
  std::shared_ptr<TaskQueue> metricQueue_;
  std::unique_ptr<RepeatingTimer> metricTimer_;
};

/// Reports one event. Data of none stays none: such an event has no data member at all.
void JLTrackEvent(const std::string& name, const std::optional<MetricData>& data);

/// Reports about one event in 1 / rate: never at rate 0, always at rate 1. `rate` lies between 0 and 1.
void JLTrackSampledEvent(const std::string& name, const std::optional<MetricData>& data, float rate);

/// Where this build sends metrics; empty, as it is unless the build says otherwise, means nowhere.
std::string builtInCollectorAddress();

}  // namespace jumplark
