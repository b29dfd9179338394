#include <algorithm>
#include <chrono>
#include <set>

#include "accessibility/JLElement.h"
#include "metrics/JLMetrics.h"
#include "platform/Defaults.h"
#include "platform/Input.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "query/engine/JLQueryEngine.h"
#include "query/engine/MatchingWait.h"
#include "query/text/Utf.h"
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

/// Elements after whose action the user goes on typing or choosing in the target.
bool endsModalMode(const std::string& role) {
  static const std::set<std::string> kRoles = {"AXTextField", "AXTextArea", "AXPopUpButton", "AXMenuBarItem"};
  return kRoles.contains(role);
}

}  // namespace

bool JLQueryEngine::hasQuery() const {
  return !query_.value().empty();
}

bool JLQueryEngine::isMatched() const {
  const CompletedQuery completed = completedQuery_.value();
  return completed.text == query_.value() && isCurrent(completed.activation);
}

void JLQueryEngine::whenMatchingFinishes(std::function<void()> callback) {
  if (isMatched()) {
    callback();
    return;
  }
  auto wait = std::make_unique<MatchingWait>();
  MatchingWait* const started = wait.get();
  waits_.push_back(std::move(wait));
  const auto over = [this, started] {
    postToMain([started](JLQueryEngine& engine) {
      std::erase_if(engine.waits_, [started](const auto& other) { return other.get() == started; });
    });
  };
  started->start(completedQuery_.observe().map([this](const CompletedQuery&) { return isMatched(); }), querySignal_,
                 std::move(callback), over);
}

JLQueryEngine::Element JLQueryEngine::selectedElement() const {
  const auto match = selection_->currentMatch();
  return match && match->node() ? match->node()->element() : nullptr;
}

void JLQueryEngine::actionElement() {
  if (!hasQuery()) {
    clickAtPointer();
    return;
  }
  whenMatchingFinishes([this, activation = activation_.load()] { performDefaultAction(activation); });
}

void JLQueryEngine::clickAtPointer() {
  deactivate();
  JLElementActioner::sharedInstance().click();
  JLTrackEvent("action.click.no-target", std::nullopt);
}

void JLQueryEngine::performDefaultAction(uint64_t activation) {
  Element element;
  mainThread_.call([&] {
    // Typed on, or ended, since the matches came in.
    if (isCurrent(activation) && isMatched()) {
      element = endForDefaultAction();
    }
  });
  if (element) {
    JLElementActioner::sharedInstance().actionElement(element);
    maybeReactivateAfterActioningElement(element);
  }
}

JLQueryEngine::Element JLQueryEngine::endForDefaultAction() {
  const Platform& platform = Platform::current();
  const Element element = selectedElement();
  if (!element) {
    platform.input->beep();
    return nullptr;
  }
  const Duration latency = platform.queues->monotonicNow() - Duration(static_cast<int64_t>(startTime_.value()));
  const Application application = currentApp_.value();
  JLTrackEvent("action.default", MetricData{{"bundle_id", application ? application->bundleIdentifier : std::string()},
                                            {"query_length", static_cast<int64_t>(utf16Length(query_.value()))},
                                            {"element", element->metricDictionary()},
                                            {"total_matches", static_cast<int64_t>(selection_->matchCount())},
                                            {"selection_index", selection_->currentIndex()},
                                            {"duration_ms", milliseconds(latency)}});
  platform.accessibility->prepareAction(element->ref());
  deactivate();
  return element;
}

void JLQueryEngine::maybeReactivateAfterActioningElement(const Element& element) {
  if (!isModal() || (element && endsModalMode(element->role()))) {
    return;
  }
  postToMain(
      [](JLQueryEngine& engine) {
        if (!engine.isActive_.value()) {
          engine.start();
        }
      },
      kModalDelay);
}

void JLQueryEngine::mouseToElement() {
  if (hasQuery()) {
    whenMatchingFinishes([this, activation = activation_.load()] { performMouseOver(activation); });
  }
}

void JLQueryEngine::performMouseOver(uint64_t activation) {
  const Element element = isCurrent(activation) && isMatched() ? selectedElement() : nullptr;
  if (element) {
    JLElementActioner::sharedInstance().mouseToElement(element);
    JLTrackEvent("action.mouse-over", MetricData{{"element", element->metricDictionary()}});
  }
}

void JLQueryEngine::focusElement() {
  if (hasQuery()) {
    whenMatchingFinishes([this, activation = activation_.load()] { performFocus(activation); });
  }
}

void JLQueryEngine::performFocus(uint64_t activation) {
  Element element;
  MetricData data;
  mainThread_.call([&] {
    if (isCurrent(activation) && isMatched()) {
      element = selectedElement();
      if (element) {
        data["element"] = element->metricDictionary();
      }
      deactivate();
    }
  });
  if (element) {
    JLElementActioner::sharedInstance().focusElement(element);
    JLTrackEvent("action.focus", data);
  }
}

}  // namespace jumplark
