#pragma once

#include <functional>
#include <memory>

#include "platform/Views.h"

class QWidget;

namespace jumplark {

class KeyTranslator;
class NativeWindows;
class Screens;
class TaskQueue;

/// The windows of this program, made with Qt and, where Qt has no such window, with the window system itself. Made
/// after the QtMainLoop and destroyed before it, when every view it made has gone. Main thread only.
class QtViews final : public Views {
 public:
  struct World {
    std::unique_ptr<NativeWindows> native;
    Screens& screens;
    TaskQueue& mainQueue;
  };
  explicit QtViews(World world);
  ~QtViews() override;

  std::unique_ptr<QueryWindowView> makeQueryWindow() override;
  std::unique_ptr<OverlayView> makeOverlay() override;
  std::unique_ptr<DiscoveryView> makeDiscovery() override;
  void showAlert(const Alert& alert, std::function<void(int button)> chosen) override;
  void activateIgnoringOtherApps() override;

  /// To be called, on the main thread, when a pointer button goes down outside the windows of this program or anywhere
  /// (clicks on panels take no focus from the query window, so that it would not learn of them). Native.
  void pointerPressedOutside(Point topLeft);

  // For the other windows of this program.
  NativeWindows& native();
  const KeyTranslator& keys();
  /// Shows a window in front of the others and gives it the keyboard.
  void bringToFront(QWidget& window);
  /// Returns when the window system has carried out everything asked of it so far: what was drawn shows, as far as it
  /// is its to show it.
  void synchronize() const;

 private:
  struct Parts;
  std::shared_ptr<Parts> parts_;
};

}  // namespace jumplark
