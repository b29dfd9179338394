#include <fmt/format.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "app/JLAppDelegate.h"
#include "app/JLCrashReporter.h"
#include "app/JLPreferencesController.h"
#include "app/JLStatusItemController.h"
#include "app/JLUpdateChecker.h"
#include "backends/linux/LinuxProgram.h"
#include "backends/linux/OpenBackend.h"
#include "backends/linux/crash/Symbols.h"
#include "backends/linux/qt/QtMainLoop.h"
#include "backends/linux/system/InstanceChannel.h"
#include "backends/linux/system/SystemQueues.h"
#include "backends/linux/system/TerminationSignals.h"
#include "cli/Commands.h"
#include "metrics/JLMetrics.h"
#include "platform/GlobalShortcuts.h"
#include "platform/Platform.h"
#include "platform/Texts.h"
#include "platform/Views.h"
#include "query/engine/JLQueryEngine.h"

namespace jumplark::cli {
namespace {

/// Starting it is advised only where it would start.
std::string notRunning() {
  SystemQueues queues;
  const OpenedBackend backend = openBackend(queues.mainQueue());
  return backend.backend ? localized("Jumplark is not running; 'jumplark' starts it.")
                         : localizedFormat("Jumplark is not running and cannot be started: {}", backend.error);
}

ExitStatus answerOf(const InstanceChannel::Reply& reply) {
  switch (reply.state) {
    case InstanceChannel::SendState::done:
      return ExitStatus::done;
    case InstanceChannel::SendState::notRunning:
      throw CommandFailure(ExitStatus::outOfReach, notRunning());
    case InstanceChannel::SendState::failed:
      break;
  }
  throw CommandFailure(ExitStatus::outOfReach, reply.problem);
}

ExitStatus send(const InstanceCommand& command) {
  return answerOf(InstanceChannel(InstancePlace::fromEnvironment()).send(command));
}

/// A second start shows how to reach the first.
ExitStatus tellRunningInstance(const InstanceChannel& channel) {
  const auto reply = channel.send({InstanceCommand::Kind::reopen, {}});
  const bool shown = reply.state == InstanceChannel::SendState::done;
  fmt::print("{}\n", shown ? localized("Jumplark is already running! Its preferences are open now.")
                           : localized("Jumplark is already running!"));
  if (!shown) {
    fmt::print(stderr, "jumplark: {}\n", reply.problem);
  }
  return ExitStatus::done;
}

void tellThatItRuns(const JLAppDelegate& delegate) {
  const std::optional<Shortcut> shortcut = delegate.preferencesController()->registeredShortcut();
  fmt::print("{} {}\n", localized("Jumplark is running."),
             shortcut
                 ? localizedFormat("Press {} over any application.", Platform::current().shortcuts->describe(*shortcut))
                 : localized("Its shortcut cannot be used now; 'jumplark activate' does what it would do."));
  std::fflush(stdout);
}

/// The same program again in this process's place.
void startAnew() {
  ::execl("/proc/self/exe", "jumplark", nullptr);
}

/// When the display goes away, as at the end of a session, the toolkit ends the process from within its loop. What must
/// be kept is kept then too, while this object lives; and where the display comes back, so does the program.
class KeepingAtExit {
 public:
  KeepingAtExit(JLAppDelegate& delegate, LinuxProgram& program) : delegate_(delegate), program_(program) {
    JLMetrics::sharedInstance();  // made before the handler is registered, it outlives it
    if (std::exchange(running, this) == nullptr) {
      std::atexit(end);
      std::at_quick_exit(end);
    }
  }
  KeepingAtExit(const KeepingAtExit&) = delete;
  KeepingAtExit& operator=(const KeepingAtExit&) = delete;
  ~KeepingAtExit() { running = nullptr; }

  /// Somebody asks the program to end, who shall not have to wait for a display. On any thread.
  static void noteWish() {
    isWished = true;
    if (isWaiting) {
      ::_exit(0);
    }
  }

 private:
  static void end() {
    if (KeepingAtExit* const left = std::exchange(running, nullptr)) {
      left->delegate_.applicationWillTerminate();
      isWaiting = true;
      if (!isWished && left->program_.awaitDisplay()) {
        spdlog::warn("The display has gone and come back; so does Jumplark");
        startAnew();
      }
    }
  }

  JLAppDelegate& delegate_;
  LinuxProgram& program_;
  static inline KeepingAtExit* running = nullptr;
  static inline std::atomic<bool> isWished = false;
  static inline std::atomic<bool> isWaiting = false;  ///< and what must be kept is kept
};

/// The program in the background, on the main thread.
class Background {
 public:
  explicit Background(LinuxProgram& program)
      : program_(program),
        installed_(Platform::install(program.platform())),
        delegate_(ProductAddresses::builtIn(), builtInCollectorAddress(), collaborators()) {}

  std::string perform(const InstanceCommand& command) {
    if (delegate_.preferencesController() == nullptr || delegate_.statusItemController() == nullptr) {
      Platform::current().views->activateIgnoringOtherApps();
      return localized("Jumplark is only just starting; answer its message first.");
    }
    switch (command.kind) {
      case InstanceCommand::Kind::activate:
        return delegate_.activate();
      case InstanceCommand::Kind::preferences:
        delegate_.engine()->deactivateWithoutSwitchingApplication();
        delegate_.preferencesController()->showPreferencesPaneWithTitle(command.pane);
        break;
      case InstanceCommand::Kind::reopen:
        delegate_.applicationShouldHandleReopenHasVisibleWindows(false);
        break;
    }
    return {};
  }

  int run() {
    delegate_.applicationWillFinishLaunching();
    delegate_.applicationDidFinishLaunching();
    int status = 0;
    {
      const KeepingAtExit keeping(delegate_, program_);
      status = program_.loop().run();
    }
    delegate_.applicationWillTerminate();
    return status;
  }

 private:
  JLAppDelegate::Collaborators collaborators() {
    JLAppDelegate::Collaborators all;
    all.setUpdateFeedAddress = [this](const std::string& address) { updates_.setFeedAddress(address); };
    all.checkForUpdates = [this] { updates_.checkForUpdates(); };
    all.startCrashReporter = [this](const std::function<void()>& next) { crashReporter_.start(next); };
    all.installCrashHandlers = [this] { program_.installCrashHandlers(); };
    all.terminate = [this] { program_.loop().quit(); };
    all.didStart = [this] { tellThatItRuns(delegate_); };
    return all;
  }

  LinuxProgram& program_;
  Token installed_;
  JLUpdateChecker updates_;
  JLCrashReporter crashReporter_{ProductAddresses::builtIn().crashCollector};
  JLAppDelegate delegate_;
};

}  // namespace

ExitStatus runActivate() {
  return send({InstanceCommand::Kind::activate, {}});
}

ExitStatus runPreferences(const Options& options) {
  return send({InstanceCommand::Kind::preferences, options.pane});
}

ExitStatus runInBackground() {
  keepSymbolsLocal();
  TerminationSignals signals;
  SystemQueues queues;
  Background* background = nullptr;
  const InstanceChannel channel(InstancePlace::fromEnvironment());
  // Commands come on the main queue, which first runs when everything is there.
  const auto serving =
      channel.serve(queues, [&background](const InstanceCommand& command) { return background->perform(command); });
  switch (serving.state) {
    case InstanceChannel::ServeState::serving:
      break;
    case InstanceChannel::ServeState::alreadyRunning:
      return tellRunningInstance(channel);
    case InstanceChannel::ServeState::failed:
      throw CommandFailure(ExitStatus::outOfReach, serving.problem);
  }
  auto opened = LinuxProgram::open(queues);
  if (!opened.program) {
    throw CommandFailure(ExitStatus::outOfReach, opened.error);
  }
  QtMainLoop& loop = opened.program->loop();
  signals.start([&loop](int) {
    KeepingAtExit::noteWish();
    loop.quit();
  });
  Background running(*opened.program);
  background = &running;
  if (!opened.error.empty()) {
    fmt::print(stderr, "jumplark: {}\n", opened.error);
  }
  const bool ended = running.run() == 0;
  if (opened.program->wantsToStartAnew()) {
    std::atexit(startAnew);  // after all that this one has to end
  }
  return ended && opened.error.empty() ? ExitStatus::done : ExitStatus::outOfReach;
}

}  // namespace jumplark::cli
