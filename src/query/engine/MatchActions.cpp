#include "query/engine/MatchActions.h"

#include <algorithm>
#include <chrono>
#include <set>

#include "accessibility/JLElement.h"
#include "metrics/JLMetrics.h"
#include "platform/Accessibility.h"
#include "platform/Defaults.h"
#include "platform/Input.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "platform/Utf8.h"
#include "query/engine/ActivationController.h"
#include "query/engine/ActivationState.h"
#include "query/engine/MainThreadCalls.h"
#include "query/engine/MatchingWait.h"
#include "query/engine/QueryPipeline.h"
#include "selection/JLElementActioner.h"
#include "selection/JLElementSelectionController.h"
#include "tree/JLElementNode.h"

namespace jumplark {
namespace {

constexpr auto kModalDelay = std::chrono::milliseconds(10);

bool isModal() {
  Defaults* const defaults = Platform::current().defaults;
  return defaults != nullptr && defaults->boolean("ModalModeEnabled");
}

/// Elements after whose action the user goes on typing or choosing in the target, or it goes.
bool endsModalMode(const std::string& role) {
  static const std::set<std::string> kRoles = {"AXTextField", "AXTextArea", "AXPopUpButton", "AXMenuBarItem",
                                               kWindowButtonRole};
  return kRoles.contains(role);
}

}  // namespace

MatchActions::MatchActions(const ActivationState& state, ActivationController& activation, QueryPipeline& pipeline,
                           JLElementSelectionController& selection, MainThreadCalls& mainThread,
                           std::function<void()> withoutMatch)
    : state_(state),
      activation_(activation),
      pipeline_(pipeline),
      selection_(selection),
      mainThread_(mainThread),
      withoutMatch_(std::move(withoutMatch)) {}

MatchActions::~MatchActions() = default;

void MatchActions::whenMatchingFinishes(std::function<void()> callback) {
  if (pipeline_.isMatched()) {
    callback();
    return;
  }
  auto wait = std::make_unique<MatchingWait>();
  MatchingWait* const started = wait.get();
  waits_.push_back(std::move(wait));
  const auto over = [this, started] {
    mainThread_.post(
        [this, started] { std::erase_if(waits_, [started](const auto& other) { return other.get() == started; }); });
  };
  started->start(pipeline_.completedQuery().observe().map([this](const auto&) { return pipeline_.isMatched(); }),
                 pipeline_.querySignal(), std::move(callback), over);
}

void MatchActions::whenMatched(void (MatchActions::*action)(uint64_t activation)) {
  if (pipeline_.hasQuery()) {
    whenMatchingFinishes([this, action, asked = state_.number.load()] { (this->*action)(asked); });
  }
}

bool MatchActions::isWanted(uint64_t activation) const {
  return state_.isCurrent(activation) && pipeline_.isMatched();
}

MatchActions::Element MatchActions::selectedElement() const {
  const auto match = selection_.currentMatch();
  return match && match->node() ? match->node()->element() : nullptr;
}

void MatchActions::actionElement() {
  pipeline_.hasQuery() ? whenMatched(&MatchActions::performDefaultAction) : clickAtPointer();
}

void MatchActions::clickAtPointer() {
  activation_.deactivate();
  JLElementActioner::sharedInstance().click();
  JLTrackEvent("action.click.no-target", std::nullopt);
}

void MatchActions::performDefaultAction(uint64_t activation) {
  Element element;
  mainThread_.call([&] {
    if (!isWanted(activation)) {
      return;
    }
    element = selectedElement();
    if (element) {
      reportDefaultAction(*element);
      element = element->live(true);
      activation_.deactivate();
    } else {
      withoutMatch_();
    }
  });
  if (element) {
    JLElementActioner::sharedInstance().actionElement(element);
    maybeReactivateAfterActioningElement(element);
  }
}

void MatchActions::reportDefaultAction(const JLElement& element) const {
  const auto application = state_.currentApp.value();
  const Duration begin(static_cast<int64_t>(state_.startTime.value()));
  const Duration latency = Platform::current().queues->monotonicNow() - begin;
  JLTrackEvent("action.default", MetricData{{"bundle_id", application ? application->bundleIdentifier : std::string()},
                                            {"query_length", utf16Length(pipeline_.query().value())},
                                            {"element", element.metricDictionary()},
                                            {"total_matches", static_cast<int64_t>(selection_.matchCount())},
                                            {"selection_index", selection_.currentIndex()},
                                            {"duration_ms", milliseconds(latency)}});
}

void MatchActions::maybeReactivateAfterActioningElement(const Element& element) {
  if (!isModal() || (element && endsModalMode(element->role()))) {
    return;
  }
  const auto activateUnlessActive = [this] {
    if (!state_.isActive.value()) {
      activation_.activate();
    }
  };
  mainThread_.post(activateUnlessActive, kModalDelay);
}

void MatchActions::mouseToElement() {
  whenMatched(&MatchActions::performMouseOver);
}

void MatchActions::performMouseOver(uint64_t activation) {
  const Element element = isWanted(activation) ? selectedElement() : nullptr;
  if (element) {
    JLElementActioner::sharedInstance().mouseToElement(element);
    JLTrackEvent("action.mouse-over", MetricData{{"element", element->metricDictionary()}});
  }
}

void MatchActions::focusElement() {
  whenMatched(&MatchActions::performFocus);
}

void MatchActions::performFocus(uint64_t activation) {
  Element element;
  MetricData data;
  mainThread_.call([&] {
    if (!isWanted(activation)) {
      return;
    }
    element = selectedElement();
    if (element) {
      data["element"] = element->metricDictionary();
    }
    activation_.deactivate();
  });
  if (element) {
    JLElementActioner::sharedInstance().focusElement(element);
    JLTrackEvent("action.focus", data);
  }
}

}  // namespace jumplark
