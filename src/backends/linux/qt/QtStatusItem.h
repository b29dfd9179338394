#pragma once

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>
#include <memory>
#include <string>
#include <vector>

#include "platform/AppViews.h"
#include "platform/Token.h"

namespace jumplark {

class StatusBarWatch;
class TaskQueue;

/// The icon in the panel: a StatusNotifierItem where the session has a host for them, else an icon of the XEmbed tray.
/// It is made when there is such a place, since Qt decides once and for all between the two when the first is made.
class QtStatusItem final : public QObject, public StatusItemView {
 public:
  QtStatusItem(StatusBarWatch& bar, TaskQueue& mainQueue, StatusItem item);
  ~QtStatusItem() override;

  void setMenu(const std::string& title, std::vector<MenuEntry> entries) override;

 private:
  void follow();

  StatusBarWatch& bar_;
  TaskQueue& mainQueue_;
  const StatusItem item_;
  QMenu menu_;
  Token changes_;
  std::unique_ptr<QSystemTrayIcon> icon_;
};

}  // namespace jumplark
