#include "backends/linux/qt/QtQueryWindow.h"

#include <xcb/shape.h>

#include <QApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QWindow>
#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "backends/linux/qt/KeyTranslator.h"
#include "backends/linux/qt/NativeDisplay.h"
#include "backends/linux/qt/QtMainLoop.h"
#include "backends/linux/qt/QueryWindowArea.h"
#include "backends/linux/qt/RoundedShape.h"
#include "backends/linux/qt/ScreenGeometry.h"

namespace jumplark {

QtQueryWindow::QtQueryWindow(const Context& context) : context_(context) {
  panel_.onCloseRequest = [this] { resignKey(); };
  panel_.onKey = [this](const QKeyEvent& event) { keyOfWindow(event); };
  panel_.onCardResized = [this] { cardResized(); };
  panel_.commands().onRowPressed = [this](size_t row) {
    if (delegate_) {
      delegate_->commandRowPressed(row);
    }
  };
  panel_.commands().onScrolled = [this](int rows) {
    if (delegate_) {
      delegate_->commandsScrolled(rows);
    }
  };
  connect(&panel_.field(), &QLineEdit::textChanged, this, [this](const QString& text) {
    if (delegate_) {
      delegate_->textDidChange(text.toStdString());
    }
  });
  panel_.setTranslucent(context_.display.compositorRuns());
  window_ = static_cast<xcb_window_t>(panel_.winId());
  QtMainLoop::deliverKeysDirectly(*panel_.windowHandle());
  if (context_.callbacks.passOver) {
    context_.callbacks.passOver(window_);
  }
  adoptCompositor();
  // Fonts, style and shadow are loaded by the first painting.
  panel_.grab();
  nativeEvents_ = context_.display.addEventHandler([this](const xcb_generic_event_t& event) { handleNative(event); });
  compositor_ = context_.display.onCompositorChanged([this] { adoptCompositor(); });
}

QtQueryWindow::~QtQueryWindow() {
  delegate_ = nullptr;
  setKeyMonitorInstalled(false);
  context_.area.set({});
}

QRect QtQueryWindow::nativeCard() const {
  const double scale = ScreenGeometry::scaleAt(cardTopLeft_);
  return {cardTopLeft_, (QSizeF(panel_.card().size()) * scale).toSize()};
}

Rect QtQueryWindow::frame() const {
  return context_.geometry.toCore(nativeCard());
}

void QtQueryWindow::setFrameTopLeft(Point topLeft) {
  wantedTopLeft_ = context_.geometry.toNative(topLeft);
  placeCard(wantedTopLeft_);
}

void QtQueryWindow::placeCard(QPoint native) {
  cardTopLeft_ = native;
  const QPoint place = ScreenGeometry::toLogical(native) - panel_.card().topLeft();
  panel_.move(place);
  // A widget that is there already says nothing to its window, which the window manager would then place.
  panel_.windowHandle()->setPosition(place);
  publishArea();
}

void QtQueryWindow::publishArea() {
  context_.area.set(panel_.isVisible() ? nativeCard() : QRect());
}

void QtQueryWindow::cardResized() {
  if (window_ == XCB_WINDOW_NONE) {
    return;
  }
  setHints();
  // What has come must not hang over the lower edge. The field stays where it has moved until all of it has gone.
  const QRect area = context_.geometry.workAreaAt(cardTopLeft_);
  QPoint place = panel_.isGrown() ? cardTopLeft_ : wantedTopLeft_;
  if (panel_.isGrown() && area.contains(place)) {
    place.setY(std::max(area.top(), std::min(place.y(), area.bottom() + 1 - nativeCard().height())));
  }
  placeCard(place);
}

void QtQueryWindow::adoptCompositor() {
  panel_.setTranslucent(context_.display.compositorRuns());
  setHints();
  placeCard(cardTopLeft_);
}

void QtQueryWindow::setHints() {
  NativeDisplay& display = context_.display;
  xcb_connection_t* connection = display.connection();
  // The list is the window manager's while the window is mapped, ours before; it empties it at every hiding.
  if (!panel_.isVisible()) {
    const std::array<xcb_atom_t, 3> states = {display.atom("_NET_WM_STATE_ABOVE"),
                                              display.atom("_NET_WM_STATE_SKIP_TASKBAR"),
                                              display.atom("_NET_WM_STATE_SKIP_PAGER")};
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window_, display.atom("_NET_WM_STATE"), XCB_ATOM_ATOM, 32,
                        states.size(), states.data());
  }
  // Tells window managers and compositors that the shadow is drawn already, and what of the window is the card.
  const double scale = ScreenGeometry::scaleAt(cardTopLeft_);
  const auto margin = static_cast<uint32_t>(std::lround(panel_.card().left() * scale));
  const std::array<uint32_t, 4> margins = {margin, margin, margin, margin};
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window_, display.atom("_GTK_FRAME_EXTENTS"), XCB_ATOM_CARDINAL,
                      32, margins.size(), margins.data());
  if (display.compositorRuns()) {
    xcb_shape_mask(connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, window_, 0, 0, XCB_PIXMAP_NONE);
  } else {
    setRoundedShape(connection, window_, nativeCard().size(), QueryPanel::kCornerRadius * scale);
  }
  display.flush();
}

void QtQueryWindow::makeKeyAndOrderFront() {
  setHints();
  if (!panel_.isVisible()) {
    context_.willShow();
    shownAt_ = context_.display.markNow();
    focused_ = false;
  }
  isKey_ = true;
  panel_.show();
  panel_.raise();
  panel_.activateWindow();
  publishArea();
  // Over another connection: the window manager must have heard of the window by then.
  context_.display.synchronize();
  if (context_.callbacks.activateWindow) {
    context_.callbacks.activateWindow(window_);
  }
}

void QtQueryWindow::orderOut() {
  panel_.hide();
  context_.didHide();
  focused_ = false;
  publishArea();
  context_.display.flush();
  resignKey();
}

std::string QtQueryWindow::text() const {
  return const_cast<QueryPanel&>(panel_).field().text().toStdString();
}

void QtQueryWindow::setText(const std::string& text) {
  panel_.field().setText(QString::fromStdString(text));
}

bool QtQueryWindow::makeFieldFirstResponder() {
  panel_.field().setFocus(Qt::OtherFocusReason);
  return true;
}

bool QtQueryWindow::resignFieldFirstResponder() {
  panel_.field().clearFocus();
  return true;
}

void QtQueryWindow::setKeyMonitorInstalled(bool installed) {
  if (std::exchange(monitoring_, installed) != installed) {
    installed ? panel_.field().installEventFilter(this) : panel_.field().removeEventFilter(this);
  }
}

bool QtQueryWindow::hasMarkedText() const {
  return const_cast<QueryPanel&>(panel_).field().isComposing();
}

void QtQueryWindow::startSpinner() {
  panel_.spinner().start();
}

void QtQueryWindow::setSpinnerOpacity(double opacity, Duration duration) {
  panel_.spinner().setOpacity(opacity, duration);
}

void QtQueryWindow::setNotice(const std::string& notice) {
  panel_.setNotice(QString::fromStdString(notice));
}

void QtQueryWindow::setCommands(const CommandRows& commands) {
  panel_.setCommands(commands);
}

void QtQueryWindow::announceSelection(const std::string& description) {
  // Screen readers say the changed description of what has the focus.
  panel_.field().setAccessibleDescription(QString::fromStdString(description));
}

bool QtQueryWindow::eventFilter(QObject* watched, QEvent* event) {
  // Each press passes several objects, and comes to the field once.
  if (event->type() == QEvent::KeyPress && watched == &panel_.field() && delegate_) {
    // A key that has ended the activation is used up: the field has the keyboard no more, and the window would get it.
    return keyPressed(static_cast<const QKeyEvent&>(*event)) || !monitoring_;
  }
  return false;
}

bool QtQueryWindow::keyPressed(const QKeyEvent& event) {
  const auto key = context_.keys.translate(event);
  if (!key) {
    return false;
  }
  if (delegate_->monitoredKeyDown(*key)) {
    return true;
  }
  if ((key->flags & modifier_flag::command) == 0) {
    return false;
  }
  // A combination with Command is never text, whether it has a use or not.
  if (delegate_) {
    delegate_->performKeyEquivalent(*key);
  }
  return true;
}

void QtQueryWindow::keyOfWindow(const QKeyEvent& event) {
  const auto key = context_.keys.translate(event);
  if (!key || !delegate_) {
    return;
  }
  event.type() == QEvent::KeyPress ? delegate_->keyDown(*key) : delegate_->keyUp(*key);
}

void QtQueryWindow::handleNative(const xcb_generic_event_t& event) {
  const int type = event.response_type & 0x7F;
  if (type != XCB_FOCUS_IN && type != XCB_FOCUS_OUT) {
    return;
  }
  const auto& focus = reinterpret_cast<const xcb_focus_in_event_t&>(event);
  // A grab by anybody's key combination borrows the keyboard and gives it back.
  const bool grab = focus.mode == XCB_NOTIFY_MODE_GRAB || focus.mode == XCB_NOTIFY_MODE_UNGRAB;
  // Not about this window, but about the pointer being over it while the focus is the root's, or an inferior's.
  const bool passing = focus.detail == XCB_NOTIFY_DETAIL_POINTER || focus.detail == XCB_NOTIFY_DETAIL_POINTER_ROOT ||
                       focus.detail == XCB_NOTIFY_DETAIL_NONE || focus.detail == XCB_NOTIFY_DETAIL_INFERIOR;
  if (focus.event != window_ || grab || passing || !panel_.isVisible() || NativeDisplay::isBefore(event, shownAt_)) {
    return;
  }
  if (type == XCB_FOCUS_IN) {
    focused_ = true;
    isKey_ = true;
    if (context_.callbacks.keyboardArrived) {
      context_.callbacks.keyboardArrived();
    }
  } else if (std::exchange(focused_, false)) {
    resignKey();
  }
}

void QtQueryWindow::pointerPressed(QPoint native) {
  if (panel_.isVisible() && !nativeCard().contains(native)) {
    resignKey();
  }
}

void QtQueryWindow::resignKey() {
  if (std::exchange(isKey_, false) && delegate_) {
    delegate_->didResignKey();
  }
}

}  // namespace jumplark
