#include "backends/linux/qt/QtViews.h"

#include <QApplication>
#include <QPointer>
#include <QWidget>
#include <algorithm>
#include <utility>
#include <vector>

#include "backends/linux/qt/AlertDialog.h"
#include "backends/linux/qt/ClickThroughWindow.h"
#include "backends/linux/qt/KeyTranslator.h"
#include "backends/linux/qt/NativeDisplay.h"
#include "backends/linux/qt/QtDiscovery.h"
#include "backends/linux/qt/QtOverlay.h"
#include "backends/linux/qt/QueryWindowArea.h"
#include "backends/linux/qt/ScreenGeometry.h"
#include "platform/Queues.h"

namespace jumplark {

// In the order in which each needs those before it.
struct QtViews::Parts {
  explicit Parts(World given)
      : world(std::move(given)),
        geometry(world.screens),
        keys(world.x, display),
        sheets({display, stack, geometry, world.screens, area}) {}

  void bringToFront(QWidget& window) {
    window.show();
    window.raise();
    window.activateWindow();
    // Over another connection: the window manager must have heard of the window by then.
    display.synchronize();
    if (world.callbacks.activateWindow) {
      world.callbacks.activateWindow(static_cast<uint32_t>(window.winId()));
    }
  }

  /// The oldest message that nobody has answered, unless it is there already.
  void showNextAlert() {
    std::erase_if(alerts, [](const auto& shown) { return shown.isNull(); });
    if (!alerts.empty() && !alerts.front()->isVisible()) {
      bringToFront(*alerts.front());
    }
  }

  World world;
  NativeDisplay display;
  ScreenGeometry geometry;
  KeyTranslator keys;
  QueryWindowArea area;
  WindowStack stack;
  OverlaySheets sheets;
  std::vector<QPointer<QtQueryWindow>> queryWindows;
  std::vector<QPointer<AlertDialog>> alerts;
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
  auto window = std::make_unique<QtQueryWindow>(
      QtQueryWindow::Context{parts.display, parts.geometry, parts.keys, parts.area, parts.world.callbacks});
  parts.queryWindows.emplace_back(window.get());
  return window;
}

std::unique_ptr<OverlayView> QtViews::makeOverlay() {
  return std::make_unique<QtOverlay>(parts_->sheets);
}

std::unique_ptr<DiscoveryView> QtViews::makeDiscovery() {
  return std::make_unique<QtDiscovery>(parts_->display, parts_->stack, parts_->geometry, parts_->area);
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
  const bool queried = std::ranges::any_of(parts_->queryWindows,
                                           [](const auto& window) { return !window.isNull() && window->isVisible(); });
  if (queried) {
    return;  // it came to the front as it was shown, and another window would take its keyboard
  }
  for (QWidget* window : QApplication::topLevelWidgets()) {
    const bool isPopup = window->windowType() == Qt::Popup || window->windowType() == Qt::ToolTip;
    if (window->isVisible() && !isPopup && !window->windowFlags().testFlag(Qt::BypassWindowManagerHint)) {
      parts_->bringToFront(*window);
    }
  }
}

NativeDisplay& QtViews::display() {
  return parts_->display;
}

KeyTranslator& QtViews::keys() {
  return parts_->keys;
}

void QtViews::bringToFront(QWidget& window) {
  parts_->bringToFront(window);
}

void QtViews::synchronize() const {
  parts_->display.synchronize();
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
