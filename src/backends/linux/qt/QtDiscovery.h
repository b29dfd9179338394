#pragma once

#include <QRect>
#include <memory>
#include <string>

#include "backends/linux/qt/ClickThroughWindow.h"
#include "platform/Token.h"
#include "platform/Views.h"

namespace jumplark {

class NativeWindows;
class QueryWindowArea;
class ScreenGeometry;

/// The box over one element and the bubble beside it. Without a compositor the box shows a copy of what was below it.
class QtDiscovery final : public DiscoveryView {
 public:
  QtDiscovery(NativeWindows& windows, const ScreenGeometry& geometry, const QueryWindowArea& area);
  ~QtDiscovery() override;

  void setLevel(int level) override { level_ = level; }
  void setAnchorFrame(const Rect& frame) override;
  void setAnchorColor(const Color& color) override;
  void orderFrontRegardless() override;
  void orderOut() override;
  void showPopover(const std::string& text) override;
  void closePopover() override;

 private:
  void rebuildAnchor();
  std::unique_ptr<ClickThroughWindow> makeAnchor() const;
  /// The bubble's place: above the anchor, below it where there is no room or the query window is in the way; inside
  /// the anchor's screen.
  QPoint placeOf(QSize bubble) const;

  NativeWindows& windows_;
  const ScreenGeometry& geometry_;
  const QueryWindowArea& area_;
  int level_ = window_level::screenSaver + 2;
  QRect anchorFrame_;  ///< native
  Color anchorColor_{0, 0, 0, 0};
  bool shown_ = false;
  std::string text_;
  std::unique_ptr<ClickThroughWindow> anchor_;
  std::unique_ptr<ClickThroughWindow> popover_;
  Token compositorChanged_;
};

}  // namespace jumplark
