#include <spdlog/spdlog.h>

#include <chrono>

#include "accessibility/JLElement.h"
#include "metrics/JLMetrics.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "platform/Texts.h"
#include "query/engine/JLQueryEngine.h"
#include "query/engine/JLQueryWindowController.h"
#include "query/engine/TargetNotice.h"
#include "query/matching/JLElementFilter.h"
#include "query/matching/JLElementMatcher.h"
#include "selection/JLElementSelectionController.h"
#include "streams/CombineLatest.h"
#include "tree/JLElementTree.h"
#include "tree/JLElementTreeEnumerator.h"

namespace jumplark {
namespace {

constexpr auto kQueryQuietInterval = std::chrono::milliseconds(100);

TaskQueue& highPriorityQueue() {
  return Platform::current().queues->highPriorityQueue();
}

bool sameTarget(const TargetElement& a, const TargetElement& b) {
  const bool sameElement = a.element == b.element || (a.element && b.element && *a.element == *b.element);
  return sameElement && a.activation == b.activation;
}

std::string bundleIdentifierOf(const JLElement& element) {
  const auto application = element.runningApp();
  return application ? application->bundleIdentifier : std::string();
}

}  // namespace

void JLQueryEngine::setupSignals() {
  connectQuery();
  connectTarget();
  connectTree();
  connectMatching();
  connectWindow();
  subscribeToModifierTaps();
}

void JLQueryEngine::connectQuery() {
  querySignal_ = window_->text().distinctUntilChanged();
  tokens_.push_back(querySignal_.bindTo(query_));
  throttledQuerySignal_ = querySignal_.map([this](const std::string& text) {
                                        return TypedQuery{text, activation_};
                                      })
                              .debounce(kQueryQuietInterval, Platform::current().queues->mainQueue());
  tokens_.push_back(combineLatest(isWorking_.observe(), isCollecting_.observe())
                        .map([](const auto& either) { return either.first || either.second; })
                        .bindTo(window_->isWorking()));
}

void JLQueryEngine::connectTarget() {
  // The number is read where currentApp is set; the element is made on the background queue, since making it can wait
  // for applications.
  struct Asked {
    Application application;
    TargetElement target;
  };
  tokens_.push_back(currentApp_.observe()
                        .map([this](const Application& application) {
                          return Asked{application, {nullptr, activation_}};
                        })
                        .deliverOn(highPriorityQueue())
                        .map([this](const Asked& asked) { return elementOf(asked.target, asked.application); })
                        .distinctUntilChanged(sameTarget)
                        .bindTo(currentAppElement_));
  currentAppElementSignal_ = currentAppElement_.observe();
}

TargetElement JLQueryEngine::elementOf(const TargetElement& asked, const Application& application) const {
  TargetElement target = asked;
  if (application && isCurrent(asked.activation)) {
    target.element = JLElement::elementWithPID(application->pid);
  }
  return target;
}

void JLQueryEngine::connectTree() {
  refreshSignal_.send(true);
  ReplaySubject<TargetTree> trees;
  elementTreeSignal_ = trees.observe();
  tokens_.push_back(elementTreeSignal_.map([](const TargetTree& tree) { return tree.tree; }).bindTo(currentTree_));
  // One that is asked for before the one before it has begun takes its place.
  tokens_.push_back(combineLatest(currentAppElementSignal_, refreshSignal_.observe())
                        .map([this](const auto& latest) {
                          const TreeRequest request{latest.first, ++lastTreeRequest_};
                          postToMain([](JLQueryEngine& engine) { engine.updateCollecting(); });
                          return request;
                        })
                        .deliverOn(highPriorityQueue())
                        .filter([this](const TreeRequest& request) { return request.number == lastTreeRequest_; })
                        .map([this](const TreeRequest& request) { return takeSnapshot(request); })
                        .multicast(trees));
  // After the snapshot, which has fetched what this reads.
  tokens_.push_back(currentAppElementSignal_.deliverOn(highPriorityQueue())
                        .map([this](const TargetElement& target) { return focusedWindowOf(target); })
                        .bindTo(activeWindowElement_));
}

TargetElement JLQueryEngine::focusedWindowOf(const TargetElement& target) const {
  if (!target.element || !isCurrent(target.activation)) {
    return {nullptr, target.activation};
  }
  const Element window = target.element->focusedWindow();
  if (window) {
    // What focusing the window reads is remembered by the models: the main thread then asks the target for nothing.
    window->role();
    for (const Element& above : window->ancestors()) {
      above->role();
    }
  }
  return {window, target.activation};
}

TargetTree JLQueryEngine::takeSnapshot(const TreeRequest& request) {
  const TargetElement& target = request.target;
  TargetTree taken{nullptr, target.activation, request.number};
  if (!target.element || !isCurrent(target.activation)) {
    return taken;
  }
  Queues& queues = *Platform::current().queues;
  const Duration start = queues.monotonicNow();
  EnumerationOptions options;
  options.visibleElements = true;
  options.isUnwanted = [this, activation = target.activation] { return !isCurrent(activation); };
  const Tree tree = JLElementTreeEnumerator(target.element).enumerateElementsWithOptions(options);
  if (!isCurrent(target.activation)) {
    // What this has read since the activation ended must not be taken for the next one's.
    JLElement::flushCache();
    return taken;
  }
  const double duration = milliseconds(queues.monotonicNow() - start);
  spdlog::debug("enumeration: {:.3f} ms, {} elements", duration, tree->elementCount());
  JLTrackEvent("enumeration", MetricData{{"duration_ms", duration},
                                         {"bundle_id", bundleIdentifierOf(*target.element)},
                                         {"element_count", static_cast<int64_t>(tree->elementCount())}});
  tellWhenNothingToChoose(target, *tree);
  JLElementMatcher::prepare(*tree);
  taken.tree = tree;
  return taken;
}

void JLQueryEngine::tellWhenNothingToChoose(const TargetElement& target, const JLElementTree& tree) {
  const Application application = currentApp_.value();
  const std::string name = !application                 ? ""
                           : !application->name.empty() ? application->name
                                                        : application->bundleIdentifier;
  const std::string notice =
      noticeForTarget(*target.element, tree, name.empty() ? localized("This application") : name);
  postToMain([notice, activation = target.activation](JLQueryEngine& engine) {
    if (engine.isCurrent(activation)) {
      engine.window_->setNotice(notice);
    }
  });
}

void JLQueryEngine::connectMatching() {
  matchingElementsSignal_ =
      combineLatest(elementTreeSignal_, throttledQuerySignal_)
          .map([this](const auto& latest) { return std::pair(latest, ++lastMatching_); })
          .deliverOn(highPriorityQueue())
          .map([](const auto& numbered) {
            const auto& [latest, number] = numbered;
            const auto& [tree, typed] = latest;
            // What was typed in another activation is not the query of this one, whose field is empty.
            const std::string query = typed.activation == tree.activation ? typed.text : std::string();
            return MatchingElements{
                tree, JLElementFilter::pruneElements(JLElementMatcher::searchElementTreeWithQuery(tree.tree, query)),
                query, number};
          });
  tokens_.push_back(
      matchingElementsSignal_.subscribe([this](const MatchingElements& found) { deliverMatches(found); }));
}

void JLQueryEngine::deliverMatches(const MatchingElements& found) {
  const auto isUnwanted = [this, activation = found.tree.activation] { return !isCurrent(activation); };
  if (isUnwanted() || found.number != lastMatching_) {
    return;
  }
  const auto matches = found.matches.collect();
  if (isUnwanted()) {
    return;
  }
  selection_->setElementMatches(matches, isUnwanted);
  selection_->updateHighlights(isUnwanted);
  if (isUnwanted()) {
    // The activation ended in between and has hidden the overlay; nothing may stay selected.
    selection_->setElementMatches({});
    return;
  }
  if (found.tree.tree) {
    completedQuery_.set({found.query, found.tree.activation});
  }
  postToMain([activation = found.tree.activation, request = found.tree.request](JLQueryEngine& engine) {
    engine.matched_ = {nullptr, activation, request};
    engine.updateCollecting();
  });
}

void JLQueryEngine::updateCollecting() {
  isCollecting_.set(isActive_.value() && !(isCurrent(matched_.activation) && matched_.request == lastTreeRequest_));
}

void JLQueryEngine::connectWindow() {
  tokens_.push_back(currentAppElementSignal_.deliverOn(Platform::current().queues->mainQueue())
                        .filter([this](const TargetElement& target) { return isCurrent(target.activation); })
                        .map([](const TargetElement& target) { return target.element; })
                        .bindTo(window_->targetApp()));
  tokens_.push_back(completedQuery_.observe()
                        .map([this](const CompletedQuery& completed) { return completed.text != query_.value(); })
                        .bindTo(isWorking_));
}

}  // namespace jumplark
