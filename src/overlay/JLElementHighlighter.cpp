#include "overlay/JLElementHighlighter.h"

#include <cstdint>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

#include "metrics/JLMetrics.h"
#include "overlay/HighlightFrames.h"
#include "overlay/JLElementHighlightLayer.h"
#include "overlay/JLOverlayWindow.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "tree/JLElementNode.h"

namespace jumplark {
namespace {

constexpr float kReportedShare = 0.05F;

using NodePointer = std::shared_ptr<JLElementNode>;

struct NodeHash {
  size_t operator()(const NodePointer& node) const { return node ? static_cast<size_t>(node->hash()) : 0; }
};

struct NodeEqual {
  bool operator()(const NodePointer& a, const NodePointer& b) const { return a == b || (a && b && *a == *b); }
};

TaskQueue& mainQueue() {
  return Platform::current().queues->mainQueue();
}

Duration now() {
  return Platform::current().queues->monotonicNow();
}

}  // namespace

/// What has been asked for, numbered in the order of asking. Any thread.
struct JLElementHighlighter::Requests {
  /// The number of a change of visibility; 0 when it is none.
  uint64_t changeVisible(bool toVisible) {
    const std::lock_guard lock(mutex);
    if (visible == toVisible) {
      return 0;
    }
    visible = toVisible;
    return lastVisibility = ++lastNumber;
  }
  uint64_t askForRedraw() {
    const std::lock_guard lock(mutex);
    return lastRedraw = ++lastNumber;
  }
  /// Makes the redraws void that are waiting; the number of this hiding.
  uint64_t hide() {
    const std::lock_guard lock(mutex);
    visible = false;
    return voidUpTo = ++lastNumber;
  }
  /// A showing that was refused counts as not asked for, so that the next one is a change again.
  void refuse(uint64_t number) {
    const std::lock_guard lock(mutex);
    visible = visible && lastVisibility != number;
  }
  bool isOutdatedRedraw(uint64_t number) {
    const std::lock_guard lock(mutex);
    return number <= voidUpTo || number < lastRedraw;
  }
  bool isVisible() {
    const std::lock_guard lock(mutex);
    return visible;
  }

  HighlightFrames frames;

 private:
  std::mutex mutex;
  bool visible = false;
  uint64_t lastNumber = 0;
  uint64_t lastVisibility = 0;
  uint64_t lastRedraw = 0;
  uint64_t voidUpTo = 0;
};

/// The window and what is in it. Main thread.
struct JLElementHighlighter::Drawing {
  std::shared_ptr<JLOverlayWindow> overlay;
  std::unordered_map<NodePointer, std::unique_ptr<JLElementHighlightLayer>, NodeHash, NodeEqual> elements;
  std::function<bool()> showingCondition;
  uint64_t lastVisibility = 0;

  bool mayShow() const { return !showingCondition || showingCondition(); }

  /// False when showing is not permitted now.
  bool changeVisible(bool visible, uint64_t number) {
    if (number < lastVisibility) {
      return true;  // hidden at once since, or two threads asked and the later one came first
    }
    lastVisibility = number;
    if (!visible) {
      overlay = nullptr;
      return true;
    }
    if (!mayShow()) {
      return false;
    }
    if (!overlay) {
      overlay = std::make_shared<JLOverlayWindow>();
    }
    overlay->show();
    return true;
  }

  void hide(uint64_t number) {
    if (number > lastVisibility) {
      lastVisibility = number;
      overlay = nullptr;
      elements.clear();
    }
  }

  void highlight(const NodePointer& node, const Rect& bounds, const HighlightOptions& options) {
    auto& layer = elements[node];
    if (!layer) {
      layer = JLElementHighlightLayer::initWithOverlayAndBounds(overlay.get(), bounds);
    }
    if (!layer) {
      elements.erase(node);
      return;
    }
    layer->updateOptions(options);
    if (overlay) {
      overlay->addHighlightLayer(*layer);
    }
  }

  void redraw(const HighlightOptionMap& map, const std::vector<Rect>& frames) {
    const Duration start = now();
    elements.clear();
    for (size_t i = 0; i < map.size(); ++i) {
      highlight(map[i].first.node(), frames[i], map[i].second);
    }
    if (overlay) {
      overlay->refresh();
    }
    const double duration = milliseconds(now() - start);
    if (!map.empty()) {
      JLTrackSampledEvent("highlighting",
                          MetricData{{"duration_ms", duration}, {"element_count", static_cast<int64_t>(map.size())}},
                          kReportedShare);
    }
  }
};

JLElementHighlighter::JLElementHighlighter()
    : requests_(std::make_shared<Requests>()), drawing_(std::make_shared<Drawing>()) {}

JLElementHighlighter::~JLElementHighlighter() = default;

void JLElementHighlighter::setVisible(bool visible) {
  const uint64_t number = requests_->changeVisible(visible);
  if (number == 0) {
    return;
  }
  mainQueue().post([requests = requests_, weak = std::weak_ptr(drawing_), visible, number] {
    const auto drawing = weak.lock();
    if (drawing && !drawing->changeVisible(visible, number)) {
      requests->refuse(number);
    }
  });
}

bool JLElementHighlighter::visible() const {
  return requests_->isVisible();
}

void JLElementHighlighter::setHighlightedElements(HighlightOptionMap elements,
                                                  const std::function<bool()>& isUnwanted) {
  const uint64_t number = requests_->askForRedraw();
  const auto isOver = [&] { return requests_->isOutdatedRedraw(number) || (isUnwanted && isUnwanted()); };
  std::vector<Rect> frames = requests_->frames.framesOf(elements, isOver);
  if (isOver()) {
    return;
  }
  mainQueue().post([requests = requests_, weak = std::weak_ptr(drawing_), number, map = std::move(elements),
                    frames = std::move(frames)] {
    const auto drawing = weak.lock();
    if (drawing && !requests->isOutdatedRedraw(number) && (map.empty() || drawing->mayShow())) {
      drawing->redraw(map, frames);
    }
  });
}

HighlightOptionMap JLElementHighlighter::highlightedElements() const {
  return {};
}

void JLElementHighlighter::highlightElementWithOptions(const std::shared_ptr<JLElementNode>& node,
                                                       const HighlightOptions& options) {
  drawing_->highlight(node, JLElementHighlightLayer::getVisibleBoundsForElement(node.get()), options);
  if (drawing_->overlay) {
    drawing_->overlay->refresh();
  }
}

std::shared_ptr<JLOverlayWindow> JLElementHighlighter::overlay() const {
  return drawing_->overlay;
}

void JLElementHighlighter::setOverlay(std::shared_ptr<JLOverlayWindow> overlay) {
  drawing_->overlay = std::move(overlay);
}

void JLElementHighlighter::hideImmediately() {
  const uint64_t number = requests_->hide();
  requests_->frames.forget();
  if (mainQueue().isCurrent()) {
    drawing_->hide(number);
    return;
  }
  mainQueue().post([weak = std::weak_ptr(drawing_), number] {
    if (const auto drawing = weak.lock()) {
      drawing->hide(number);
    }
  });
}

void JLElementHighlighter::setShowingCondition(std::function<bool()> condition) {
  drawing_->showingCondition = std::move(condition);
}

}  // namespace jumplark
