#include "backends/recorded/RecordedDiscovery.h"

#include <utility>

#include "platform/Queues.h"

namespace jumplark {

class RecordedDiscovery::View : public DiscoveryView {
 public:
  explicit View(std::shared_ptr<RecordedDiscovery> screen) : screen_(std::move(screen)) { ++screen_->windowsMade_; }
  ~View() override {
    screen_->popoverText_.reset();
    screen_->visible_ = false;
  }
  View(const View&) = delete;
  View& operator=(const View&) = delete;

  void setLevel(int level) override { screen().level_ = level; }
  void setAnchorFrame(const Rect& frame) override { screen().frame_ = frame; }
  void setAnchorColor(const Color& color) override { screen().color_ = color; }
  void orderFrontRegardless() override { screen().visible_ = true; }
  void orderOut() override { screen().visible_ = false; }
  void showPopover(const std::string& text) override {
    screen().popoverText_ = text;
    ++screen_->popoversShown_;
  }
  void closePopover() override { screen().popoverText_.reset(); }

 private:
  RecordedDiscovery& screen() const {
    screen_->callsOffMainThread_ += screen_->queues_.mainQueue().isCurrent() ? 0 : 1;
    return *screen_;
  }
  std::shared_ptr<RecordedDiscovery> screen_;
};

std::unique_ptr<DiscoveryView> RecordedDiscovery::makeView(const std::shared_ptr<RecordedDiscovery>& screen) {
  return std::make_unique<View>(screen);
}

}  // namespace jumplark
