#pragma once

#include <exception>
#include <functional>
#include <memory>

class QProcessEnvironment;
class QWindow;

namespace jumplark {

class SystemQueues;

/// Whose windows Qt makes.
enum class QtPlatform {
  xcb,
  wayland,
  waylandWithTitleBars  ///< of a compositor that draws none around windows, so that Qt does
};

/// The main thread's event loop: Qt's, which runs the tasks of the main queue between the events of the windows. It
/// wakes for events and tasks only; while there are none it sleeps without a limit.
///
/// Making it makes the QApplication, so make it once, on the thread that made the queues, before any window and after
/// accessibility has been switched on for the session (Qt looks at that once). The display must be in reach: Qt ends
/// the process otherwise.
class QtMainLoop {
 public:
  /// The queues must outlive it.
  explicit QtMainLoop(SystemQueues& queues, QtPlatform platform = QtPlatform::xcb);
  QtMainLoop(const QtMainLoop&) = delete;
  QtMainLoop& operator=(const QtMainLoop&) = delete;
  /// Every window must have gone before.
  ~QtMainLoop();

  /// Runs until quit(); the status given there. Hiding or closing windows does not end it. An exception that leaves a
  /// task or an event handler ends it too, and comes out here.
  int run();
  /// Ends run(), or the next one, after what is posted already. From any thread.
  void quit(int status = 0);

  /// What programs that are started from here shall get: settings for Qt that are meant for this one alone are left
  /// out.
  static QProcessEnvironment environmentForPrograms();

  /// Gives the environment back what it had before this program's own settings, for a program in this one's place.
  static void restoreEnvironment();

  /// Answers what assistive programs, this one among them, ask of the windows, without handling keys, clicks, timers or
  /// tasks. For a moment in which the main thread waits for such an answer itself.
  static void answerAccessibilityCalls() noexcept;

  /// Keys for this window are handled at once. Those of other windows wait, where accessibility is switched on, until
  /// the accessibility bus has been told of each and has answered, as Qt does it for assistive programs that listen to
  /// keys; an answer that does not come holds them back for many seconds.
  static void deliverKeysDirectly(QWindow& window);

  /// Calls a function that must not throw through code that knows no exceptions; what it throws ends the loop.
  static void guarded(const std::function<void()>& function) noexcept;

 private:
  class Application;
  class Drainer;

  SystemQueues& queues_;
  std::unique_ptr<Application> application_;
  std::unique_ptr<Drainer> drainer_;
};

}  // namespace jumplark
