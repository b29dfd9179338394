#include "backends/linux/qt/QtStatusItem.h"

#include <QCursor>
#include <utility>

#include "backends/linux/qt/PaneIcons.h"
#include "backends/linux/qt/StatusBarWatch.h"
#include "platform/Queues.h"

namespace jumplark {

QtStatusItem::QtStatusItem(StatusBarWatch& bar, TaskQueue& mainQueue, StatusItem item)
    : bar_(bar), mainQueue_(mainQueue), item_(std::move(item)), changes_(bar.onChanged([this] { follow(); })) {}

QtStatusItem::~QtStatusItem() = default;

void QtStatusItem::setMenu(const std::string& title, std::vector<MenuEntry> entries) {
  menu_.clear();
  menu_.setTitle(QString::fromStdString(title));
  for (MenuEntry& entry : entries) {
    if (entry.title.empty()) {
      menu_.addSeparator();
      continue;
    }
    QString text = QString::fromStdString(entry.title);
    if (!entry.shortcut.empty()) {
      // Menus put what follows into a column of its own; of an action's own shortcut many panels show nothing.
      text += u'\t' + QString::fromStdString(entry.shortcut);
    }
    QAction* action = menu_.addAction(text);
    connect(action, &QAction::triggered, this,
            [this, chosen = std::move(entry.chosen)] { mainQueue_.post([chosen] { chosen(); }); });
  }
  follow();
}

void QtStatusItem::follow() {
  if (!bar_.isAvailable()) {
    icon_.reset();
    return;
  }
  if (icon_) {
    return;
  }
  icon_ = std::make_unique<QSystemTrayIcon>(statusIcon(QString::fromStdString(item_.image)));
  icon_->setToolTip(QString::fromStdString(item_.title));
  icon_->setContextMenu(&menu_);
  // A plain click opens the menu too, where the panel does not do that itself.
  connect(icon_.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
    if (reason == QSystemTrayIcon::Trigger) {
      menu_.popup(QCursor::pos());
    }
  });
  icon_->show();
}

}  // namespace jumplark
