#pragma once

#include <QObject>
#include <QTimer>
#include <functional>
#include <memory>
#include <vector>

#include "platform/Token.h"

class QDBusServiceWatcher;

namespace jumplark {

class NativeWindows;

/// Whether the desktop shows status items now: a host is registered with the session's StatusNotifierWatcher, or the
/// screen has an XEmbed tray. Follows both as they come and go, without polling. A panel that has both announces them
/// one after the other: a tray counts only when no host has come for a while. Main thread only.
class StatusBarWatch : public QObject {
 public:
  /// The windows must outlive it.
  explicit StatusBarWatch(NativeWindows& windows);
  ~StatusBarWatch() override;

  bool isAvailable() const { return hasHost_ || (hasTray_ && !waitForHost_.isActive()); }
  /// Calls back after every change until the token is destroyed.
  Token onChanged(std::function<void()> changed);

 private:
  void askWatcher();
  void setHost(bool hasHost);
  void lookForTray();
  void changedFrom(bool before);

  NativeWindows& windows_;
  bool hasHost_ = false;
  bool hasTray_ = false;
  QTimer waitForHost_;
  QTimer askAgain_;
  int questions_ = 0;
  std::unique_ptr<QDBusServiceWatcher> watcher_;
  Token events_;
  std::vector<std::shared_ptr<std::function<void()>>> callbacks_;
};

}  // namespace jumplark
