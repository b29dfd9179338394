#pragma once

#include "metrics/JLMetrics.h"

namespace jumplark::testing {

/// Takes every report of the process while it lives.
class RecordedMetrics {
 public:
  RecordedMetrics() : service_(std::make_shared<Service>()) {
    JLMetrics::sharedInstance().activateWithService(service_);
  }
  ~RecordedMetrics() { JLMetrics::sharedInstance().activateWithService(nullptr); }
  RecordedMetrics(const RecordedMetrics&) = delete;
  RecordedMetrics& operator=(const RecordedMetrics&) = delete;

  /// The data of the events of a name, in order.
  std::vector<MetricData> eventsNamed(const std::string& name) const {
    const std::lock_guard lock(service_->mutex);
    std::vector<MetricData> found;
    for (const auto& [eventName, data] : service_->events) {
      if (eventName == name) {
        found.push_back(data.value_or(MetricData{}));
      }
    }
    return found;
  }

 private:
  struct Service : MetricsService {
    void trackEventWithData(const std::string& name, const std::optional<MetricData>& data) override {
      const std::lock_guard lock(mutex);
      events.emplace_back(name, data);
    }
    mutable std::mutex mutex;
    std::vector<std::pair<std::string, std::optional<MetricData>>> events;
  };
  std::shared_ptr<Service> service_;
};

}  // namespace jumplark::testing
