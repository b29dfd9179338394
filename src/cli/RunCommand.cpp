#include <fmt/format.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "app/JLPreferencesController.h"
#include "backends/linux/LinuxProgram.h"
#include "backends/linux/qt/QtMainLoop.h"
#include "backends/linux/system/InstanceChannel.h"
#include "backends/linux/system/SystemQueues.h"
#include "backends/linux/system/TerminationSignals.h"
#include "cli/Commands.h"
#include "platform/Accessibility.h"
#include "platform/GlobalShortcuts.h"
#include "query/engine/JLQueryEngine.h"

namespace jumplark::cli {
namespace {

constexpr double kMessagingTimeout = 0.5;  // seconds

ExitStatus answerOf(const InstanceChannel::Reply& reply) {
  switch (reply.state) {
    case InstanceChannel::SendState::done:
      return ExitStatus::done;
    case InstanceChannel::SendState::notRunning:
      throw CommandFailure(ExitStatus::outOfReach, "it is not running; 'jumplark' starts it.");
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
  const auto reply = channel.send({InstanceCommand::Kind::preferences, {}});
  fmt::print("Jumplark is already running!{}\n",
             reply.state == InstanceChannel::SendState::done ? " Its preferences are open now." : "");
  return ExitStatus::done;
}

/// The program in the background, on the main thread.
class Background {
 public:
  explicit Background(LinuxProgram& program) : program_(program), installed_(Platform::install(program.platform())) {
    AccessibilityPlatform& accessibility = *program_.platform().accessibility;
    accessibility.setMessagingTimeout(accessibility.systemWideElement(), kMessagingTimeout);
    engine_ = std::make_unique<JLQueryEngine>();
    preferences_ = std::make_unique<JLPreferencesController>([this] { return engine_->hotkeyPressed(); });
    preferences_->setupPreferences();
  }

  std::string perform(const InstanceCommand& command) {
    if (command.kind == InstanceCommand::Kind::activate) {
      engine_->hotkeyPressed();
      return {};
    }
    return "there is no preferences window yet";
  }

  int run() {
    const std::optional<Shortcut> shortcut = preferences_->registeredShortcut();
    fmt::print("Jumplark is running. {}\n",
               shortcut
                   ? fmt::format("Press {} over any application.", Platform::current().shortcuts->describe(*shortcut))
                   : "Its shortcut cannot be used now; 'jumplark activate' does the same.");
    std::fflush(stdout);
    return program_.loop().run();
  }

 private:
  LinuxProgram& program_;
  Token installed_;
  std::unique_ptr<JLQueryEngine> engine_;
  std::unique_ptr<JLPreferencesController> preferences_;
};

}  // namespace

ExitStatus runActivate() {
  return send({InstanceCommand::Kind::activate, {}});
}

ExitStatus runPreferences(const Options& options) {
  return send({InstanceCommand::Kind::preferences, options.pane});
}

ExitStatus runInBackground() {
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
  signals.start([&loop](int) { loop.quit(); });
  Background running(*opened.program);
  background = &running;
  return running.run() == 0 ? ExitStatus::done : ExitStatus::outOfReach;
}

}  // namespace jumplark::cli
