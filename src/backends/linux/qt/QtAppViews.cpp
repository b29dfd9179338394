#include "backends/linux/qt/QtAppViews.h"

#include <QApplication>
#include <utility>

#include "backends/linux/qt/PaneIcons.h"
#include "backends/linux/qt/QtCrashWindow.h"
#include "backends/linux/qt/QtPreferencesWindow.h"
#include "backends/linux/qt/QtStatusItem.h"
#include "backends/linux/qt/QtUpdateWindow.h"
#include "backends/linux/qt/QtViews.h"
#include "backends/linux/qt/StatusBarWatch.h"

namespace jumplark {

struct QtAppViews::Parts {
  QtViews& views;
  TaskQueue& mainQueue;
  StatusBarWatch bar;
};

QtAppViews::QtAppViews(QtViews& views, TaskQueue& mainQueue)
    : parts_(new Parts{views, mainQueue, StatusBarWatch(views.native())}) {
  QApplication::setWindowIcon(applicationIcon());
}

QtAppViews::~QtAppViews() = default;

std::unique_ptr<StatusItemView> QtAppViews::makeStatusItem(const StatusItem& item) {
  return std::make_unique<QtStatusItem>(parts_->bar, parts_->mainQueue, item);
}

bool QtAppViews::hasStatusBar() {
  return parts_->bar.isAvailable();
}

std::unique_ptr<PreferencesWindowView> QtAppViews::makePreferencesWindow(
    const std::string& title, const std::vector<std::optional<PaneDescription>>& panes) {
  return std::make_unique<QtPreferencesWindow>(
      QtPreferencesWindow::Context{parts_->views.keys(), parts_->mainQueue,
                                   [&views = parts_->views](QWidget& window) { views.bringToFront(window); }},
      title, panes);
}

std::unique_ptr<UpdateWindowView> QtAppViews::makeUpdateWindow(UpdateWindowCallbacks callbacks) {
  return std::make_unique<QtUpdateWindow>(
      parts_->mainQueue, [&views = parts_->views](QWidget& window) { views.bringToFront(window); },
      std::move(callbacks));
}

std::unique_ptr<CrashWindowView> QtAppViews::makeCrashWindow(CrashWindowCallbacks callbacks) {
  return std::make_unique<QtCrashWindow>(
      parts_->mainQueue, [&views = parts_->views](QWidget& window) { views.bringToFront(window); },
      std::move(callbacks));
}

}  // namespace jumplark
