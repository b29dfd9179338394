#include "metrics/JLMetrics.h"

#include "platform/Platform.h"
#include "platform/RandomSource.h"

namespace jumplark {

JLMetrics& JLMetrics::sharedInstance() {
  static JLMetrics metrics;
  return metrics;
}

void JLMetrics::trackEventWithData(const std::string& name, const std::optional<MetricData>& data) {
  std::shared_ptr<MetricsService> service;
  if (isActive()) {
    const std::scoped_lock lock(mutex_);
    service = service_;
  }
  if (service) {
    service->trackEventWithData(name, data);
  }
}

void JLMetrics::activateWithService(std::shared_ptr<MetricsService> service) {
  const bool active = service != nullptr;
  {
    const std::scoped_lock lock(mutex_);
    service_.swap(service);
  }
  active_.store(active, std::memory_order_release);
}

void JLTrackEvent(const std::string& name, const std::optional<MetricData>& data) {
  JLMetrics::sharedInstance().trackEventWithData(name, data);
}

void JLTrackSampledEvent(const std::string& name, const std::optional<MetricData>& data, float rate) {
  constexpr double kScale = 1.0 / 2147483648.0;  // 2^-31, so that the draw lies in [0, 1)
  const double draw = Platform::current().random->next() * kScale;
  if (static_cast<double>(rate) > draw) {
    JLTrackEvent(name, data);
  }
}

}  // namespace jumplark
