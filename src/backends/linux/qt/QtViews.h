#pragma once

#include <functional>
#include <memory>

#include "backends/linux/qt/QtQueryWindow.h"
#include "platform/Views.h"

class QWidget;

namespace jumplark {

class KeyTranslator;
class NativeDisplay;
class Screens;
class TaskQueue;
class X11Connection;

/// The windows of this program, made with Qt and, where Qt has no such window, with the X server itself. Made after the
/// QtMainLoop and destroyed before it, when every view it made has gone. Main thread only.
class QtViews final : public Views {
 public:
  struct World {
    std::shared_ptr<X11Connection> x;  ///< for the keyboard's map
    Screens& screens;
    TaskQueue& mainQueue;
    WindowCallbacks callbacks;
  };
  explicit QtViews(World world);
  ~QtViews() override;

  std::unique_ptr<QueryWindowView> makeQueryWindow() override;
  std::unique_ptr<OverlayView> makeOverlay() override;
  std::unique_ptr<DiscoveryView> makeDiscovery() override;
  void showAlert(const Alert& alert, std::function<void(int button)> chosen) override;
  void activateIgnoringOtherApps() override;

  /// To be called, on the main thread, when a pointer button goes down outside the windows of this program or anywhere
  /// (clicks on panels take no focus from the query window, so that it would not learn of them). Pixels of the root
  /// with a top-left origin.
  void pointerPressedOutside(Point topLeft);

  // For the other windows of this program.
  NativeDisplay& display();
  KeyTranslator& keys();
  /// Shows a window in front of the others and gives it the keyboard.
  void bringToFront(QWidget& window);
  /// Returns when the X server has carried out everything asked of it so far: what was drawn shows, as far as it is the
  /// server's to show it.
  void synchronize() const;

 private:
  struct Parts;
  std::shared_ptr<Parts> parts_;
};

}  // namespace jumplark
