#pragma once

#include <xcb/xcb.h>

#include <QObject>
#include <QRect>
#include <functional>
#include <memory>
#include <string>

#include "backends/linux/qt/QueryPanel.h"
#include "platform/Token.h"
#include "platform/Views.h"

class QKeyEvent;

namespace jumplark {

class KeyTranslator;
class NativeDisplay;
class QueryWindowArea;
class ScreenGeometry;

/// What the windows need of the world that is not Qt's.
struct WindowCallbacks {
  /// Asks the window manager to activate a window of this program, with the time of the key that led to it.
  std::function<void(uint32_t window)> activateWindow;
  /// The X server has given the query window the keyboard: keys that come from now on are delivered to it.
  std::function<void()> keyboardArrived;
  /// A query window or a message was made, which never counts as the window that the user works in.
  std::function<void(uint32_t window)> passOver;
};

/// The query window: a managed window without decorations, in front of the others. Its X window and its first picture
/// exist from its making on. `frame` is that of the visible card, without the shadow around it.
class QtQueryWindow final : public QObject, public QueryWindowView {
 public:
  struct Context {
    NativeDisplay& display;
    const ScreenGeometry& geometry;
    KeyTranslator& keys;
    QueryWindowArea& area;
    const WindowCallbacks& callbacks;
    std::function<void()> willShow;
    std::function<void()> didHide;
  };
  explicit QtQueryWindow(const Context& context);
  ~QtQueryWindow() override;

  void setDelegate(QueryWindowViewDelegate* delegate) override { delegate_ = delegate; }
  void setLevel(int level) override { level_ = level; }
  Rect frame() const override;
  void setFrameTopLeft(Point topLeft) override;
  void makeKeyAndOrderFront() override;
  void orderOut() override;
  bool isVisible() const override { return panel_.isVisible(); }
  std::string text() const override;
  void setText(const std::string& text) override;
  bool makeFieldFirstResponder() override;
  bool resignFieldFirstResponder() override;
  void setKeyMonitorInstalled(bool installed) override;
  bool hasMarkedText() const override;
  void startSpinner() override;
  void setSpinnerOpacity(double opacity, Duration duration) override;
  void setNotice(const std::string& notice) override;
  void setCommands(const CommandRows& commands) override;
  void announceSelection(const std::string& description) override;

  /// A button went down somewhere, in pixels of the root with a top-left origin. Outside the card it means that the
  /// user has turned to something else.
  void pointerPressed(QPoint native);
  uint32_t nativeWindow() const { return window_; }

 private:
  bool eventFilter(QObject* watched, QEvent* event) override;
  bool keyPressed(const QKeyEvent& event);
  void keyOfWindow(const QKeyEvent& event);
  void handleNative(const xcb_generic_event_t& event);
  void resignKey();
  void adoptCompositor();
  void cardResized();
  void placeCard(QPoint native);
  void setHints();
  QRect nativeCard() const;
  void publishArea();

  Context context_;
  QueryPanel panel_;
  QueryWindowViewDelegate* delegate_ = nullptr;
  xcb_window_t window_ = XCB_WINDOW_NONE;
  int level_ = 0;
  QPoint wantedTopLeft_;  ///< of the card where nothing is below its field; native
  QPoint cardTopLeft_;    ///< native
  bool isKey_ = false;    ///< has been shown or focused, and has not been said to have lost the keyboard
  bool focused_ = false;  ///< as far as the X server has told
  uint32_t shownAt_ = 0;  ///< events from before it concern an earlier showing
  bool monitoring_ = false;
  Token nativeEvents_;
  Token compositor_;
};

}  // namespace jumplark
