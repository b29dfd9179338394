#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/AttributeValue.h"

namespace jumplark {

/// The data of a metric event: flat, from text to number or text; a dictionary only for "element".
using MetricData = AttributeValue::Dictionary;

/// Where metric events go once metrics are configured.
class MetricsService {
 public:
  virtual ~MetricsService() = default;
  /// Takes one event, stamped with the time of this call. Any thread.
  virtual void trackEventWithData(const std::string& name, const std::optional<MetricData>& data) = 0;
};

/// The front through which every subsystem reports, without knowing whether metrics are on: a report is dropped while
/// `isActive` is false, as it is until metrics are configured. Reports may come from any thread and run on it.
class JLMetrics {
 public:
  static JLMetrics& sharedInstance();

  void trackEventWithData(const std::string& name, const std::optional<MetricData>& data);

  bool isActive() const { return active_.load(std::memory_order_acquire); }
  /// Starts (or, with null, ends) the delivery of reports. Called at start-up, before the reporting subsystems run.
  void activateWithService(std::shared_ptr<MetricsService> service);

 private:
  std::shared_ptr<MetricsService> service_;
  std::atomic<bool> active_{false};
};

/// Reports one event. Data of none stays none: such an event has no data member at all.
void JLTrackEvent(const std::string& name, const std::optional<MetricData>& data);

/// Reports about one event in 1 / rate: never at rate 0, always at rate 1. `rate` lies between 0 and 1.
void JLTrackSampledEvent(const std::string& name, const std::optional<MetricData>& data, float rate);

}  // namespace jumplark
