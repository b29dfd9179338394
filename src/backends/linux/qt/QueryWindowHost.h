#pragma once

#include <QPoint>
#include <QRect>
#include <functional>

namespace jumplark {

/// The query window's widget as a window of the window system: one that appears where it is asked to, in front of the
/// others, and gets the keyboard at once. Hidden at first. Main thread only.
class QueryWindowHost {
 public:
  /// Each comes on the main thread, and only about the present showing.
  struct Events {
    /// Keys that come from now on are delivered to the window.
    std::function<void()> keyboardArrived;
    /// It had the keyboard and has lost it, or the window system has taken the window away.
    std::function<void()> keyboardLost;
    /// After keyboardArrived: menus from which it took the keyboard have gone.
    std::function<void()> menusClosed;
  };

  QueryWindowHost() = default;
  virtual ~QueryWindowHost() = default;
  QueryWindowHost(const QueryWindowHost&) = delete;
  QueryWindowHost& operator=(const QueryWindowHost&) = delete;

  /// What of the widget is the card, in Qt's logical pixels; around it lies the shadow. To be called after each change
  /// of the widget's size.
  virtual void setCard(const QRect& card) = 0;
  /// Places the window so that the card's upper left corner lies there; native.
  virtual void place(QPoint card) = 0;

  virtual void show() = 0;
  /// Asks for the keyboard, after show().
  virtual void takeKeyboard() = 0;
  /// Returns when clicks where it was reach what lies below, as far as the window system answers in time.
  virtual void hide() = 0;
};

}  // namespace jumplark
