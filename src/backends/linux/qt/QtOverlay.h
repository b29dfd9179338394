#pragma once

#include <QTimer>
#include <memory>
#include <vector>

#include "backends/linux/qt/OverlaySheet.h"
#include "platform/Token.h"
#include "platform/Views.h"

namespace jumplark {

class NativeWindows;
class QueryWindowArea;
class ScreenGeometry;
class Screens;

/// The overlay's windows, one a screen, made ahead and kept from one activation to the next. They follow changes of the
/// screens and the coming and going of a compositor. Main thread only.
class OverlaySheets {
 public:
  struct Context {
    NativeWindows& windows;
    const ScreenGeometry& geometry;
    Screens& screens;
    QueryWindowArea& area;
  };
  explicit OverlaySheets(const Context& context);
  ~OverlaySheets();

  /// One user at a time: whoever showed them last. What others ask for has no effect until they show them themselves.
  void show(const OverlayView& user, int level, const std::vector<BoxLayer>& layers);
  void hide(const OverlayView& user);
  /// Returns when the requests are on their way to the window system.
  void setLayers(const OverlayView& user, const std::vector<BoxLayer>& layers);

 private:
  bool fitsDesktop() const;
  void rebuild();
  void desktopChanged();
  void settled();
  void place(const std::vector<BoxLayer>& layers);

  Context context_;
  LayerPainters painters_;
  std::vector<std::unique_ptr<OverlaySheet>> sheets_;
  std::vector<PlacedLayer> layers_;
  const OverlayView* user_ = nullptr;  ///< while shown
  int level_ = 0;
  QTimer settling_;  ///< runs while programs repaint what a window hid
  Token screensChanged_;
  Token compositorChanged_;
};

/// One overlay, drawn on the sheets.
class QtOverlay final : public OverlayView {
 public:
  explicit QtOverlay(OverlaySheets& sheets) : sheets_(sheets) {}
  ~QtOverlay() override;
  void setLevel(int level) override { level_ = level; }
  void orderFront() override;
  void orderOut() override;
  void setLayers(std::vector<BoxLayer> layers) override;

 private:
  OverlaySheets& sheets_;
  int level_ = window_level::screenSaver + 1;
  bool shown_ = false;
  std::vector<BoxLayer> layers_;
};

}  // namespace jumplark
