#pragma once

#include <cstddef>
#include <memory>

#include "platform/Menus.h"

namespace jumplark {

class ActivationController;
class MainThreadCalls;
class MatchActions;
class QueryPipeline;
class TaskQueue;
struct ActivationState;

/// Carries out commands of menus. Main thread, which never waits: the application is waited for on a background queue.
class CommandActions {
 public:
  /// Everything outlives it.
  CommandActions(const ActivationState& state, ActivationController& activation, QueryPipeline& pipeline,
                 MatchActions& actions, MainThreadCalls& mainThread);
  CommandActions(const CommandActions&) = delete;
  CommandActions& operator=(const CommandActions&) = delete;
  /// Waits for a command that is being carried out; the calls are closed by then.
  ~CommandActions();

  /// Ends the activation and does what choosing the command does; tells the user where that failed. In modal mode the
  /// next activation follows. `index` is its place among the `count` commands that were found, for the figures.
  void perform(const MenuCommand& command, size_t index, size_t count);

 private:
  void report(size_t index, size_t count) const;

  const ActivationState& state_;
  ActivationController& activation_;
  QueryPipeline& pipeline_;
  MatchActions& actions_;
  MainThreadCalls& mainThread_;
  std::shared_ptr<TaskQueue> queue_;
};

}  // namespace jumplark
