#pragma once

#include <QPoint>
#include <QRect>
#include <functional>
#include <memory>

#include "backends/linux/qt/ClickThroughWindow.h"
#include "backends/linux/qt/QueryWindowHost.h"
#include "platform/Token.h"

class QWidget;

namespace jumplark {

class KeyMeanings;
class ScreenGeometry;

/// What native coordinates count, see ScreenGeometry.
enum class NativeUnit {
  pixel,         ///< of the root window; Qt's logical pixels are so many of them as the screen's scale says
  logicalPixel,  ///< of the compositor's layout, which are Qt's as well
};

/// What the windows of this program need of the window system where Qt has nothing to offer. Made after the
/// QApplication and destroyed before it, when every window it made has gone. Main thread only.
class NativeWindows {
 public:
  NativeWindows() = default;
  virtual ~NativeWindows() = default;
  NativeWindows(const NativeWindows&) = delete;
  NativeWindows& operator=(const NativeWindows&) = delete;

  virtual NativeUnit unit() const = 0;
  /// Pixels of a ClickThroughWindow's picture per native unit there.
  virtual double pictureRatioAt(QPoint native) const = 0;

  /// Without a compositor a translucent window is black.
  virtual bool compositorRuns() const = 0;
  /// Calls back after that has changed, or a picture's ratio somewhere.
  virtual Token onCompositorChanged(std::function<void()> callback) = 0;

  /// Translucent when asked for and possible.
  virtual std::unique_ptr<ClickThroughWindow> makeClickThroughWindow(const QRect& geometry, bool translucent) = 0;
  /// Makes the widget's window. Widget and geometry must outlive the host.
  virtual std::unique_ptr<QueryWindowHost> makeQueryWindowHost(QWidget& widget, const ScreenGeometry& geometry,
                                                               QueryWindowHost::Events events) = 0;
  virtual KeyMeanings& keys() = 0;

  /// Returns when the window system has carried out every request made so far, as far as it answers in time.
  virtual void synchronize() = 0;
  /// Gives an ordinary window, which is shown, the keyboard.
  virtual void activate(QWidget& window) = 0;
  /// The window never counts as the one that the user works in.
  virtual void passOver(QWidget& window) = 0;
  /// Calls back with each of this program's windows that gets the keyboard, before Qt knows of it.
  virtual Token onKeyboardGiven(std::function<void(QWidget& window)> callback) = 0;

  /// There is a tray for icons that are windows.
  virtual bool hasTray() = 0;
  /// Calls back when there may be one now, or none any more.
  virtual Token onTrayAnnounced(std::function<void()> callback) = 0;
};

}  // namespace jumplark
