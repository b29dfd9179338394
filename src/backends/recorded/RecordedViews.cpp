#include "backends/recorded/RecordedViews.h"

#include <utility>

#include "backends/recorded/RecordedQueryWindow.h"
#include "platform/Queues.h"

namespace jumplark {

RecordedViews::RecordedViews(Queues& queues)
    : queues_(queues),
      overlay_(std::make_shared<RecordedOverlay>(queues)),
      discovery_(std::make_shared<RecordedDiscovery>(queues)) {}

RecordedViews::~RecordedViews() = default;

std::unique_ptr<QueryWindowView> RecordedViews::makeQueryWindow() {
  auto window = std::make_unique<RecordedQueryWindow>(queues_);
  queryWindow_ = window.get();
  return window;
}

std::unique_ptr<OverlayView> RecordedViews::makeOverlay() {
  return RecordedOverlay::makeView(overlay_);
}

std::unique_ptr<DiscoveryView> RecordedViews::makeDiscovery() {
  return RecordedDiscovery::makeView(discovery_);
}

void RecordedViews::showAlert(const Alert& alert, std::function<void(int button)> chosen) {
  alerts_.push_back(alert);
  chosen_.push_back(std::move(chosen));
}

void RecordedViews::answerAlert(int button) {
  const auto chosen = std::move(chosen_.at(0));
  alerts_.erase(alerts_.begin());
  chosen_.erase(chosen_.begin());
  if (chosen) {
    queues_.mainQueue().post([chosen, button] { chosen(button); });
  }
}

}  // namespace jumplark
