#include "backends/linux/qt/QtQueryWindow.h"

#include <QApplication>
#include <QKeyEvent>
#include <QWindow>
#include <algorithm>
#include <utility>

#include "backends/linux/qt/KeyTranslator.h"
#include "backends/linux/qt/NativeWindows.h"
#include "backends/linux/qt/QtMainLoop.h"
#include "backends/linux/qt/QueryWindowArea.h"
#include "backends/linux/qt/ScreenGeometry.h"
#include "platform/Input.h"

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
  panel_.setTranslucent(context_.windows.compositorRuns());
  host_ = context_.windows.makeQueryWindowHost(panel_, context_.geometry,
                                               {[this] { isKey_ = true; }, [this] { resignKey(); },
                                                [this] {
                                                  if (delegate_) {
                                                    delegate_->menusDidClose();
                                                  }
                                                }});
  QtMainLoop::deliverKeysDirectly(*panel_.windowHandle());
  adoptCompositor();
  // Fonts, style and shadow are loaded by the first painting.
  panel_.grab();
  compositor_ = context_.windows.onCompositorChanged([this] { adoptCompositor(); });
}

QtQueryWindow::~QtQueryWindow() {
  delegate_ = nullptr;
  setKeyMonitorInstalled(false);
  context_.area.set({});
}

QRect QtQueryWindow::nativeCard() const {
  const double scale = context_.geometry.scaleAt(cardTopLeft_);
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
  host_->place(native);
  publishArea();
}

void QtQueryWindow::publishArea() {
  context_.area.set(panel_.isVisible() ? nativeCard() : QRect());
}

void QtQueryWindow::cardResized() {
  if (!host_) {
    return;
  }
  host_->setCard(panel_.card());
  // What has come must not hang over the lower edge. The field stays where it has moved until all of it has gone.
  const QRect area = context_.geometry.workAreaAt(cardTopLeft_);
  QPoint place = panel_.isGrown() ? cardTopLeft_ : wantedTopLeft_;
  if (panel_.isGrown() && area.contains(place)) {
    place.setY(std::max(area.top(), std::min(place.y(), area.bottom() + 1 - nativeCard().height())));
  }
  placeCard(place);
}

void QtQueryWindow::adoptCompositor() {
  panel_.setTranslucent(context_.windows.compositorRuns());
  host_->setCard(panel_.card());
  placeCard(cardTopLeft_);
}

void QtQueryWindow::makeKeyAndOrderFront() {
  if (!panel_.isVisible()) {
    context_.willShow();
  }
  isKey_ = true;
  host_->show();
  publishArea();
  host_->takeKeyboard();
}

void QtQueryWindow::orderOut() {
  host_->hide();
  context_.didHide();
  publishArea();
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
