#include "query/engine/CommandActions.h"

#include <string>

#include "metrics/JLMetrics.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "platform/Texts.h"
#include "platform/Utf8.h"
#include "platform/Views.h"
#include "query/engine/ActivationController.h"
#include "query/engine/ActivationState.h"
#include "query/engine/MainThreadCalls.h"
#include "query/engine/MatchActions.h"
#include "query/engine/QueryPipeline.h"
#include "selection/JLElementActioner.h"

namespace jumplark {
namespace {

std::string sentenceFor(MenuOutcome outcome, const std::string& title) {
  switch (outcome) {
    case MenuOutcome::disabled:
      return localizedFormat("\"{}\" cannot be chosen now.", title);
    case MenuOutcome::gone:
      return localizedFormat("\"{}\" is no longer in the application's menus.", title);
    default:
      return localizedFormat("The application did not take \"{}\".", title);
  }
}

void tell(MenuOutcome outcome, const std::string& title) {
  const Alert alert{localized("Nothing was chosen in the menu"), sentenceFor(outcome, title), {localized("OK")}, false};
  Platform::current().views->showAlert(alert, {});
}

}  // namespace

CommandActions::CommandActions(const ActivationState& state, ActivationController& activation, QueryPipeline& pipeline,
                               MatchActions& actions, MainThreadCalls& mainThread)
    : state_(state),
      activation_(activation),
      pipeline_(pipeline),
      actions_(actions),
      mainThread_(mainThread),
      queue_(Platform::current().queues->makeSerialQueue("com.brindlefox.jumplark.commands")) {}

CommandActions::~CommandActions() {
  queue_.reset();
}

void CommandActions::perform(const MenuCommand& command, size_t index, size_t count) {
  report(index, count);
  activation_.deactivate();
  queue_->post([this, command] {
    const MenuOutcome outcome = Platform::current().menus->perform(command);
    if (outcome == MenuOutcome::done) {
      JLElementActioner::sharedInstance().trackUsageWithAmount("elementsActioned", 1);
      actions_.maybeReactivateAfterActioningElement(nullptr);
    } else {
      mainThread_.post([outcome, title = command.path.back()] { tell(outcome, title); });
    }
  });
}

void CommandActions::report(size_t index, size_t count) const {
  const auto application = state_.currentApp.value();
  const Duration begin(static_cast<int64_t>(state_.startTime.value()));
  const Duration latency = Platform::current().queues->monotonicNow() - begin;
  JLTrackEvent("action.command", MetricData{{"bundle_id", application ? application->bundleIdentifier : std::string()},
                                            {"query_length", utf16Length(pipeline_.query().value())},
                                            {"total_matches", static_cast<int64_t>(count)},
                                            {"selection_index", static_cast<int64_t>(index)},
                                            {"duration_ms", milliseconds(latency)}});
}

}  // namespace jumplark
