#include "backends/recorded/RecordedOverlay.h"

#include <utility>

#include "platform/Queues.h"

namespace jumplark {

/// Draws only while it is the one that was made last, as a fresh window does that takes over a pooled one.
class RecordedOverlay::View : public OverlayView {
 public:
  explicit View(std::shared_ptr<RecordedOverlay> screen) : screen_(std::move(screen)) {
    number_ = ++screen_->windowsMade_;
    ++screen_->windowsAlive_;
    screen_->visible_ = false;
    screen_->layers_.clear();
  }
  ~View() override {
    if (isLatest()) {
      screen_->visible_ = false;
    }
    --screen_->windowsAlive_;
  }
  View(const View&) = delete;
  View& operator=(const View&) = delete;

  void setLevel(int level) override { screen().level_ = level; }
  void orderFront() override {
    if (isLatest()) {
      screen().visible_ = true;
    }
  }
  void orderOut() override {
    if (isLatest()) {
      screen().visible_ = false;
    }
  }
  void setLayers(std::vector<BoxLayer> layers) override {
    if (isLatest()) {
      screen().layers_ = std::move(layers);
      ++screen_->redraws_;
    }
  }

 private:
  RecordedOverlay& screen() const {
    screen_->callsOffMainThread_ += screen_->queues_.mainQueue().isCurrent() ? 0 : 1;
    return *screen_;
  }
  bool isLatest() const { return number_ == screen_->windowsMade_; }

  std::shared_ptr<RecordedOverlay> screen_;
  int number_ = 0;
};

std::unique_ptr<OverlayView> RecordedOverlay::makeView(const std::shared_ptr<RecordedOverlay>& screen) {
  return std::make_unique<View>(screen);
}

}  // namespace jumplark
