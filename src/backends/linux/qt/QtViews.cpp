#include "backends/linux/qt/QtViews.h"

#include <QApplication>
#include <QDialog>
#include <QMetaObject>
#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

#include "backends/linux/qt/AlertDialog.h"
#include "backends/linux/qt/KeyTranslator.h"
#include "backends/linux/qt/NativeWindows.h"
#include "backends/linux/qt/QtDiscovery.h"
#include "backends/linux/qt/QtOverlay.h"
#include "backends/linux/qt/QtQueryWindow.h"
#include "backends/linux/qt/QueryWindowArea.h"
#include "backends/linux/qt/ScreenGeometry.h"
#include "platform/Queues.h"

namespace jumplark {
namespace {

/// An action of the query has its click behind it by then.
constexpr std::chrono::seconds kPauseOfAlerts{3};

/// The message over the window that nobody has answered, over that the next one; the window itself without.
QWidget& topmostOver(QWidget& window) {
  for (const QDialog* dialog : window.findChildren<QDialog*>(Qt::FindDirectChildrenOnly)) {
    if (dialog->isVisible() && dialog->isModal()) {
      return topmostOver(const_cast<QDialog&>(*dialog));
    }
  }
  return window;
}

}  // namespace

// In the order in which each needs those before it.
struct QtViews::Parts {
  explicit Parts(World given)
      : world(std::move(given)),
        native(*world.native),
        geometry(world.screens, native.unit()),
        keys(native.keys()),
        sheets({native, geometry, world.screens, area}) {
    alertsReturn.setSingleShot(true);
    alertsReturn.setInterval(kPauseOfAlerts);
    QObject::connect(&alertsReturn, &QTimer::timeout, &alertsReturn, [this] { showNextAlert(); });
    keyboardGiven = native.onKeyboardGiven([this](QWidget& window) { passKeyboardOn(window); });
  }

  void bringToFront(QWidget& wanted) {
    wanted.show();
    wanted.raise();
    // The message over a window has its keyboard; the window itself could do nothing with a key.
    QWidget& window = topmostOver(wanted);
    window.show();
    window.raise();
    latest = &window;
    native.activate(window);
  }

  /// Some window managers give the keyboard to a window that is clicked, whatever lies over it.
  void passKeyboardOn(QWidget& window) {
    if (&topmostOver(window) != &window) {
      // Not before Qt has had the event too.
      QMetaObject::invokeMethod(
          &window, [this, &window] { bringToFront(window); }, Qt::QueuedConnection);
    }
  }

  bool isQuerying() const {
    return std::ranges::any_of(queryWindows,
                               [](const auto& window) { return !window.isNull() && window->isVisible(); });
  }

  /// The oldest message that nobody has answered, unless it is there already. While the user searches it waits.
  void showNextAlert() {
    std::erase_if(alerts, [](const auto& shown) { return shown.isNull(); });
    if (alerts.empty() || alerts.front()->isVisible() || isQuerying()) {
      return;
    }
    AlertDialog& alert = *alerts.front();
    native.passOver(alert);
    alert.takesKeyboard() ? bringToFront(alert) : alert.show();
  }

  /// After a pause, in which the user may search on; the process sleeps on where nothing waits.
  void letAlertsReturn() {
    if (std::ranges::any_of(alerts, [](const auto& waiting) { return !waiting.isNull(); })) {
      alertsReturn.start();
    }
  }

  /// A message would get the click that is meant for what lies below it.
  void letAlertsWait() {
    alertsReturn.stop();
    for (const auto& alert : alerts) {
      if (alert && alert->isVisible()) {
        alert->giveWay();
      }
    }
  }

  World world;
  NativeWindows& native;
  ScreenGeometry geometry;
  KeyTranslator keys;
  QueryWindowArea area;
  OverlaySheets sheets;
  std::vector<QPointer<QtQueryWindow>> queryWindows;
  std::vector<QPointer<AlertDialog>> alerts;
  QTimer alertsReturn;
  Token keyboardGiven;
  QPointer<QWidget> latest;  ///< the last one that was brought to the front
};

QtViews::QtViews(World world) : parts_(std::make_shared<Parts>(std::move(world))) {}

QtViews::~QtViews() {
  for (const auto& alert : parts_->alerts) {
    if (alert) {
      alert->dismiss();
      delete alert;
    }
  }
}

std::unique_ptr<QueryWindowView> QtViews::makeQueryWindow() {
  Parts& parts = *parts_;
  auto window = std::make_unique<QtQueryWindow>(QtQueryWindow::Context{parts.native, parts.geometry, parts.keys,
                                                                       parts.area, [&parts] { parts.letAlertsWait(); },
                                                                       [&parts] { parts.letAlertsReturn(); }});
  parts.queryWindows.emplace_back(window.get());
  return window;
}

std::unique_ptr<OverlayView> QtViews::makeOverlay() {
  return std::make_unique<QtOverlay>(parts_->sheets);
}

std::unique_ptr<DiscoveryView> QtViews::makeDiscovery() {
  return std::make_unique<QtDiscovery>(parts_->native, parts_->geometry, parts_->area);
}

void QtViews::showAlert(const Alert& alert, std::function<void(int button)> chosen) {
  TaskQueue& mainQueue = parts_->world.mainQueue;
  const std::weak_ptr<Parts> weak = parts_;
  auto* dialog = new AlertDialog(alert, [&mainQueue, weak, chosen = std::move(chosen)](int button) {
    mainQueue.post([weak, chosen, button] {
      if (chosen) {
        chosen(button);
      }
      if (const auto parts = weak.lock()) {
        parts->showNextAlert();
      }
    });
  });
  parts_->alerts.emplace_back(dialog);
  parts_->showNextAlert();
}

void QtViews::activateIgnoringOtherApps() {
  if (parts_->isQuerying()) {
    return;  // it came to the front as it was shown, and another window would take its keyboard
  }
  QWidget* last = nullptr;
  for (QWidget* window : QApplication::topLevelWidgets()) {
    const bool isPopup = window->windowType() == Qt::Popup || window->windowType() == Qt::ToolTip;
    if (window->isVisible() && !isPopup && !window->windowFlags().testFlag(Qt::BypassWindowManagerHint)) {
      window->raise();
      last = last == nullptr || window == parts_->latest ? window : last;
    }
  }
  const auto& alerts = parts_->alerts;
  const auto waiting = std::ranges::find_if(
      alerts, [](const auto& alert) { return alert && alert->isVisible() && alert->takesKeyboard(); });
  last = waiting != alerts.end() ? waiting->data() : last;
  if (last != nullptr) {
    parts_->bringToFront(*last);
  }
}

NativeWindows& QtViews::native() {
  return parts_->native;
}

const KeyTranslator& QtViews::keys() {
  return parts_->keys;
}

void QtViews::bringToFront(QWidget& window) {
  parts_->bringToFront(window);
}

void QtViews::synchronize() const {
  parts_->native.synchronize();
}

void QtViews::pointerPressedOutside(Point topLeft) {
  // A copy, since the windows' owner may let them go meanwhile.
  const auto windows = parts_->queryWindows;
  for (const auto& window : windows) {
    if (window) {
      window->pointerPressed(QPoint(static_cast<int>(topLeft.x), static_cast<int>(topLeft.y)));
    }
  }
}

}  // namespace jumplark
