#include "backends/linux/qt/StatusBarWatch.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <chrono>
#include <utility>

#include "backends/linux/qt/NativeWindows.h"

namespace jumplark {
namespace {

// Names of the StatusNotifierItem protocol.
const QString kWatcherService = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString kWatcherPath = QStringLiteral("/StatusNotifierWatcher");

constexpr std::chrono::milliseconds kPatience{2000};
constexpr std::chrono::milliseconds kPause{200};
constexpr int kQuestions = 10;

}  // namespace

StatusBarWatch::StatusBarWatch(NativeWindows& windows) : windows_(windows) {
  askAgain_.setSingleShot(true);
  askAgain_.setInterval(kPause);
  connect(&askAgain_, &QTimer::timeout, this, [this] { askWatcher(); });
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (bus.isConnected()) {
    watcher_ = std::make_unique<QDBusServiceWatcher>(kWatcherService, bus, QDBusServiceWatcher::WatchForOwnerChange);
    connect(watcher_.get(), &QDBusServiceWatcher::serviceRegistered, this, [this] {
      questions_ = 0;
      askWatcher();
    });
    connect(watcher_.get(), &QDBusServiceWatcher::serviceUnregistered, this, [this] { setHost(false); });
    askWatcher();
  }
  events_ = windows_.onTrayAnnounced([this] { lookForTray(); });
  waitForHost_.setSingleShot(true);
  waitForHost_.setInterval(kPatience);
  connect(&waitForHost_, &QTimer::timeout, this, [this] { changedFrom(false); });
  lookForTray();
}

StatusBarWatch::~StatusBarWatch() = default;

Token StatusBarWatch::onChanged(std::function<void()> changed) {
  auto callback = std::make_shared<std::function<void()>>(std::move(changed));
  callbacks_.push_back(callback);
  return Token([this, callback] { std::erase(callbacks_, callback); });
}

/// The watcher comes a moment before its host.
void StatusBarWatch::askWatcher() {
  QDBusMessage question = QDBusMessage::createMethodCall(
      kWatcherService, kWatcherPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
  question << kWatcherService << QStringLiteral("IsStatusNotifierHostRegistered");
  auto* answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
  connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
    const QDBusPendingReply<QDBusVariant> reply = *answer;
    setHost(!reply.isError() && reply.value().variant().toBool());
    if (!reply.isError() && !hasHost_ && ++questions_ < kQuestions) {
      askAgain_.start();
    }
    answer->deleteLater();
  });
}

void StatusBarWatch::setHost(bool hasHost) {
  const bool before = isAvailable();
  hasHost_ = hasHost;
  changedFrom(before);
}

void StatusBarWatch::lookForTray() {
  const bool before = isAvailable();
  const bool hadTray = hasTray_;
  hasTray_ = windows_.hasTray();
  if (hasTray_ && !hadTray && watcher_) {
    waitForHost_.start();
  }
  changedFrom(before);
}

void StatusBarWatch::changedFrom(bool before) {
  if (before == isAvailable()) {
    return;
  }
  const auto callbacks = callbacks_;
  for (const auto& callback : callbacks) {
    (*callback)();
  }
}

}  // namespace jumplark
