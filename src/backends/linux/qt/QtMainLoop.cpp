#include "backends/linux/qt/QtMainLoop.h"

#include <QAccessible>
#include <QApplication>
#include <QEvent>
#include <QKeyEvent>
#include <QLibraryInfo>
#include <QLocale>
#include <QLoggingCategory>
#include <QProcessEnvironment>
#include <QSessionManager>
#include <QTimer>
#include <QTranslator>
#include <QWindow>
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <limits>
#include <optional>
#include <utility>

#include "backends/linux/system/SystemQueues.h"

namespace jumplark {
namespace {

/// What QApplication is given as the command line. It keeps a reference to the count. The windows are those of the
/// platform, whatever the environment prefers.
struct ProgramArguments {
  explicit ProgramArguments(QtPlatform which) {
    if (which != QtPlatform::xcb) {
      values[2] = wayland.data();
    }
  }
  std::array<char, 9> name{"jumplark"};
  std::array<char, 10> option{"-platform"};
  std::array<char, 4> xcb{"xcb"};
  std::array<char, 8> wayland{"wayland"};
  std::array<char*, 4> values{name.data(), option.data(), xcb.data(), nullptr};
  int count = 3;
};

constexpr const char* kDirectKeys = "directKeys";

/// A session that restores its programs must not start a second one beside that of the login item.
void neverRestart(QSessionManager& session) {
  session.setRestartHint(QSessionManager::RestartNever);
}

}  // namespace

class QtMainLoop::Application : private ProgramArguments, public QApplication {
 public:
  explicit Application(QtPlatform platform)
      : ProgramArguments(platform), QApplication(ProgramArguments::count, ProgramArguments::values.data()) {
    connect(this, &QGuiApplication::commitDataRequest, this, neverRestart, Qt::DirectConnection);
    connect(this, &QGuiApplication::saveStateRequest, this, neverRestart, Qt::DirectConnection);
  }

  bool notify(QObject* receiver, QEvent* event) override {
    try {
      if (event->spontaneous() && isKey(*event) && receiver->property(kDirectKeys).toBool()) {
        return deliverDirectly(receiver, static_cast<QKeyEvent&>(*event));
      }
      return QApplication::notify(receiver, event);
    } catch (...) {
      fail(std::current_exception());
      return true;
    }
  }

  void fail(std::exception_ptr failure) {
    if (!failure_) {
      failure_ = std::move(failure);
    }
    exit(1);
  }
  std::exception_ptr takeFailure() { return std::exchange(failure_, nullptr); }

 private:
  static bool isKey(const QEvent& event) {
    return event.type() == QEvent::KeyPress || event.type() == QEvent::KeyRelease;
  }
  // What filters the application's events tells the accessibility bus of keys that come from outside, and only of
  // those.
  bool deliverDirectly(QObject* receiver, QKeyEvent& event) {
    QKeyEvent copy(event.type(), event.key(), event.modifiers(), event.nativeScanCode(), event.nativeVirtualKey(),
                   event.nativeModifiers(), event.text(), event.isAutoRepeat(), static_cast<quint16>(event.count()),
                   event.device());
    copy.setTimestamp(event.timestamp());
    const bool handled = QApplication::notify(receiver, &copy);
    event.setAccepted(copy.isAccepted());
    return handled;
  }

  std::exception_ptr failure_;
};

/// Runs what is due in the main queue whenever it is woken, and wakes itself when the next task is due.
class QtMainLoop::Drainer : public QObject {
 public:
  explicit Drainer(SystemQueues& queues) : queues_(queues) {
    timer_.setSingleShot(true);
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, [this] { drain(); });
    queues_.setMainQueueWaker([this] { wake(); });
    wake();
  }
  ~Drainer() override { queues_.setMainQueueWaker(nullptr); }

  bool event(QEvent* event) override {
    if (event->type() != kDrain) {
      return QObject::event(event);
    }
    woken_ = false;
    drain();
    return true;
  }

 private:
  static constexpr auto kDrain = static_cast<QEvent::Type>(QEvent::User + 1);

  void wake() {
    if (!woken_.exchange(true)) {
      QCoreApplication::postEvent(this, new QEvent(kDrain));
    }
  }
  void drain() {
    const std::optional<Duration> next = queues_.drainMainQueue();
    if (!next) {
      timer_.stop();
    } else if (*next <= Duration::zero()) {
      // Through the event loop, so that keys and exposures get their turn between tasks.
      wake();
    } else {
      // Rounded up: a timer that fires early would find nothing due and spin until it is.
      const auto wait = std::chrono::ceil<std::chrono::milliseconds>(*next).count();
      timer_.start(static_cast<int>(std::min<int64_t>(wait, std::numeric_limits<int>::max())));
    }
  }

  SystemQueues& queues_;
  QTimer timer_;
  std::atomic<bool> woken_ = false;
};

namespace {

/// The environment from before prepareWayland().
std::optional<QProcessEnvironment> environmentBefore;
constexpr const char* kOwnSettings[] = {"QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT", "QT_SCALE_FACTOR",
                                        "QT_SCREEN_SCALE_FACTORS", "QT_WAYLAND_CLIENT_BUFFER_INTEGRATION"};

/// What Qt's wayland platform reads from the environment, here and later.
void prepareWayland(bool drawsTitleBars) {
  environmentBefore = QProcessEnvironment::systemEnvironment();
  // Windows past the window manager get a surface and no role, so that the query window's can be given one.
  qputenv("QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT", "1");
  // Qt's logical pixels shall be those of the compositor's layout.
  qunsetenv("QT_SCALE_FACTOR");
  qunsetenv("QT_SCREEN_SCALE_FACTORS");
  // Nothing is drawn with OpenGL, and loading it doubles the memory that the program takes. Qt warns that it is
  // missing. But without it Qt draws no title bars.
  if (!drawsTitleBars) {
    qputenv("QT_WAYLAND_CLIENT_BUFFER_INTEGRATION", "none");
  }
  QLoggingCategory::setFilterRules(QStringLiteral("qt.qpa.wayland.warning=false"));
}

/// The texts of Qt's own menus and dialogs, where the system has them in the user's language.
void translateToolkit(QCoreApplication& application) {
  auto* translator = new QTranslator(&application);
  if (translator->load(QLocale(), QStringLiteral("qtbase"), QStringLiteral("_"),
                       QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
    QCoreApplication::installTranslator(translator);
  }
}

}  // namespace

QtMainLoop::QtMainLoop(SystemQueues& queues, QtPlatform platform) : queues_(queues) {
  QCoreApplication::setAttribute(Qt::AA_DontUseNativeMenuBar);
  QCoreApplication::setAttribute(Qt::AA_DontShowIconsInMenus, false);
  QCoreApplication::setApplicationName(QStringLiteral("Jumplark"));
  if (platform != QtPlatform::xcb) {
    prepareWayland(platform == QtPlatform::waylandWithTitleBars);
  }
  application_ = std::make_unique<Application>(platform);
  translateToolkit(*application_);
  QGuiApplication::setQuitOnLastWindowClosed(false);
  QCoreApplication::setQuitLockEnabled(false);
  QAccessible::setActive(true);
  drainer_ = std::make_unique<Drainer>(queues);
}

QtMainLoop::~QtMainLoop() = default;

QProcessEnvironment QtMainLoop::environmentForPrograms() {
  return environmentBefore ? *environmentBefore : QProcessEnvironment::systemEnvironment();
}

void QtMainLoop::restoreEnvironment() {
  for (const char* const name : kOwnSettings) {
    if (const QString key = QString::fromLatin1(name); environmentBefore && environmentBefore->contains(key)) {
      qputenv(name, environmentBefore->value(key).toLocal8Bit());
    } else if (environmentBefore) {
      qunsetenv(name);
    }
  }
}

int QtMainLoop::run() {
  const int status = QCoreApplication::exec();
  if (const std::exception_ptr failure = application_->takeFailure()) {
    std::rethrow_exception(failure);
  }
  return status;
}

void QtMainLoop::quit(int status) {
  // As a task, so that it also counts when the loop is not running yet.
  queues_.mainQueue().post([status] { QCoreApplication::exit(status); });
}

void QtMainLoop::deliverKeysDirectly(QWindow& window) {
  window.setProperty(kDirectKeys, true);
}

// Messages of the accessibility bus are handed to the main thread as posted calls.
void QtMainLoop::answerAccessibilityCalls() noexcept {
  guarded([] { QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall); });
}

void QtMainLoop::guarded(const std::function<void()>& function) noexcept {
  try {
    function();
  } catch (...) {
    if (auto* application = dynamic_cast<Application*>(QCoreApplication::instance())) {
      application->fail(std::current_exception());
    }
  }
}

}  // namespace jumplark
