#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "backends/recorded/RecordedDiscovery.h"
#include "backends/recorded/RecordedOverlay.h"
#include "platform/Views.h"

namespace jumplark {

class Queues;
class RecordedQueryWindow;

/// The windows of a recorded desktop. What is on its screen is open to tests, which also play the user. Main thread
/// only.
class RecordedViews : public Views {
 public:
  explicit RecordedViews(Queues& queues);
  ~RecordedViews() override;
  RecordedViews(const RecordedViews&) = delete;
  RecordedViews& operator=(const RecordedViews&) = delete;

  std::unique_ptr<QueryWindowView> makeQueryWindow() override;
  std::unique_ptr<OverlayView> makeOverlay() override;
  std::unique_ptr<DiscoveryView> makeDiscovery() override;
  void showAlert(const Alert& alert, std::function<void(int button)> chosen) override;
  void activateIgnoringOtherApps() override { ++activations_; }

  /// The query window that was made last; null before. It belongs to whoever asked for it and goes with it.
  RecordedQueryWindow* queryWindow() const { return queryWindow_; }
  const RecordedOverlay& overlay() const { return *overlay_; }
  const RecordedDiscovery& discovery() const { return *discovery_; }
  /// The alerts that nobody has answered, in the order of showing.
  const std::vector<Alert>& alerts() const { return alerts_; }
  /// The user presses a button of the oldest alert, or closes it (-1). The caller hears of it on the main queue.
  void answerAlert(int button);
  /// How often this program was brought in front of the others.
  int activations() const { return activations_; }

 private:
  Queues& queues_;
  RecordedQueryWindow* queryWindow_ = nullptr;
  std::shared_ptr<RecordedOverlay> overlay_;
  std::shared_ptr<RecordedDiscovery> discovery_;
  std::vector<Alert> alerts_;
  std::vector<std::function<void(int)>> chosen_;
  int activations_ = 0;
};

}  // namespace jumplark
