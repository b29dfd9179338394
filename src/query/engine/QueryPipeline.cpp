#include "query/engine/QueryPipeline.h"

#include <fmt/format.h>

#include <chrono>

#include "accessibility/JLElement.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "platform/Texts.h"
#include "query/engine/ActivationState.h"
#include "query/engine/MainThreadCalls.h"
#include "query/engine/TargetNotice.h"
#include "query/engine/TargetSnapshot.h"
#include "query/matching/JLElementFilter.h"
#include "query/matching/JLElementMatcher.h"
#include "selection/JLElementSelectionController.h"
#include "streams/CombineLatest.h"
#include "tree/JLElementTree.h"

namespace jumplark {
namespace {

constexpr auto kQueryQuietInterval = std::chrono::milliseconds(100);
/// Before a page that told nothing is read again, the first time; twice as long before each further one.
constexpr auto kPageWakes = std::chrono::milliseconds(400);
constexpr int kMostWakingReads = 5;

using Application = std::optional<RunningApplication>;

TaskQueue& highPriorityQueue() {
  return Platform::current().queues->highPriorityQueue();
}

bool sameTarget(const TargetElement& a, const TargetElement& b) {
  const bool sameElement = a.element == b.element || (a.element && b.element && *a.element == *b.element);
  return sameElement && a.activation == b.activation;
}

std::string nameOf(const Application& application) {
  if (application && !(application->name.empty() && application->bundleIdentifier.empty())) {
    return application->name.empty() ? application->bundleIdentifier : application->name;
  }
  return localized("This application");
}

}  // namespace

QueryPipeline::QueryPipeline(const ActivationState& state, const Observable<std::string>& typed,
                             JLElementSelectionController& selection, MainThreadCalls& mainThread)
    : state_(state), selection_(selection), mainThread_(mainThread) {
  connectQuery(typed);
  connectTarget();
  connectTree();
  connectMatching();
  connectWorking();
}

void QueryPipeline::connectQuery(const Observable<std::string>& typed) {
  querySignal_ = typed.distinctUntilChanged();
  tokens_.push_back(querySignal_.bindTo(query_));
  throttledQuerySignal_ = querySignal_.map([this](const std::string& text) {
                                        return TypedQuery{text, state_.number};
                                      })
                              .debounce(kQueryQuietInterval, Platform::current().queues->mainQueue());
}

void QueryPipeline::connectTarget() {
  // The number is read where currentApp is set; the element is made on the background queue, since making it can wait
  // for applications.
  tokens_.push_back(
      state_.currentApp.observe()
          .map([this](const Application& application) { return std::pair(state_.number.load(), application); })
          .deliverOn(highPriorityQueue())
          .map([this](const auto& numbered) { return elementOf(numbered.first, numbered.second); })
          .distinctUntilChanged(sameTarget)
          .bindTo(currentAppElement_));
  currentAppElementSignal_ = currentAppElement_.observe();
}

TargetElement QueryPipeline::elementOf(uint64_t activation, const Application& application) const {
  const bool isWanted = application && state_.isCurrent(activation);
  return {isWanted ? JLElement::elementWithPID(application->pid) : nullptr, activation};
}

void QueryPipeline::connectTree() {
  refreshSignal_.send(true);
  ReplaySubject<TargetTree> trees;
  elementTreeSignal_ = trees.observe();
  tokens_.push_back(elementTreeSignal_.map([](const TargetTree& tree) { return tree.tree; }).bindTo(currentTree_));
  // One that is asked for before the one before it has begun takes its place.
  tokens_.push_back(combineLatest(currentAppElementSignal_, refreshSignal_.observe())
                        .map([this](const auto& latest) {
                          TreeRequest request{latest.first, ++lastTreeRequest_};
                          mainThread_.post([this] { updateCollecting(); });
                          return request;
                        })
                        .deliverOn(highPriorityQueue())
                        .filter([this](const TreeRequest& request) { return request.number == lastTreeRequest_; })
                        .map([this](const TreeRequest& request) { return takeSnapshot(request); })
                        .multicast(trees));
  // After the snapshot, which has fetched what this reads.
  tokens_.push_back(
      currentAppElementSignal_.deliverOn(highPriorityQueue())
          .map([this](const TargetElement& target) {
            const bool isWanted = target.element && state_.isCurrent(target.activation);
            return TargetElement{isWanted ? focusedWindowOfTarget(*target.element) : nullptr, target.activation};
          })
          .bindTo(activeWindowElement_));
}

TargetTree QueryPipeline::takeSnapshot(const TreeRequest& request) {
  const auto& [element, activation] = request.target;
  TargetTree taken{nullptr, activation, request.number};
  if (!element || !state_.isCurrent(activation)) {
    return taken;
  }
  taken.tree = takeSnapshotOfTarget(element, [this, number = activation] { return !state_.isCurrent(number); });
  if (taken.tree) {
    std::string notice = hasEmptyPage(*taken.tree) ? awaitPage(request) : std::string();
    if (notice.empty()) {
      notice = noticeForTarget(*element, *taken.tree, nameOf(state_.currentApp.value()));
    }
    notices_.send({notice, activation});
  }
  return taken;
}

std::string QueryPipeline::awaitPage(const TreeRequest& request) {
  const uint64_t activation = request.target.activation;
  if (waking_.activation != activation) {
    waking_ = {activation, 0};
  }
  if (waking_.reads == kMostWakingReads) {
    return {};
  }
  mainThread_.post(
      [this, activation, number = request.number] {
        if (state_.isCurrent(activation) && number == lastTreeRequest_) {
          refresh();
        }
      },
      kPageWakes * (1 << waking_.reads++));
  return localizedFormat("{} is only just beginning to tell what its page holds; it is read again by itself.",
                         nameOf(state_.currentApp.value()));
}

void QueryPipeline::connectMatching() {
  const auto queries = combineLatest(throttledQuerySignal_, areElementsWanted_.observe()).map([](const auto& latest) {
    return TypedQuery{latest.first.text, latest.first.activation, latest.second};
  });
  matchingElementsSignal_ = combineLatest(elementTreeSignal_, queries)
                                .map([this](const auto& latest) { return std::pair(latest, ++lastMatching_); })
                                .deliverOn(highPriorityQueue())
                                .map([](const auto& numbered) {
                                  const auto& [latest, number] = numbered;
                                  return matchesOf(latest.first, latest.second, number);
                                });
  tokens_.push_back(
      matchingElementsSignal_.subscribe([this](const MatchingElements& found) { deliverMatches(found); }));
}

QueryPipeline::MatchingElements QueryPipeline::matchesOf(const TargetTree& tree, const TypedQuery& typed,
                                                         uint64_t number) {
  // What was typed in another activation is not the query of this one, whose field is empty.
  const std::string query = typed.activation == tree.activation ? typed.text : std::string();
  const std::string searched = typed.isForElements ? query : std::string();
  return {tree, JLElementFilter::pruneElements(JLElementMatcher::searchElementTreeWithQuery(tree.tree, searched)),
          query, number};
}

void QueryPipeline::deliverMatches(const MatchingElements& found) {
  const auto isUnwanted = [this, activation = found.tree.activation] { return !state_.isCurrent(activation); };
  if (isUnwanted() || found.number != lastMatching_) {
    return;
  }
  const auto matches = found.matches.collect();
  if (isUnwanted()) {
    return;
  }
  selection_.setElementMatches(matches, isUnwanted);
  selection_.updateHighlights(isUnwanted);
  if (isUnwanted()) {
    // The activation ended in between and has hidden the overlay; nothing may stay selected.
    selection_.setElementMatches({});
    return;
  }
  if (found.tree.tree) {
    completedQuery_.set({found.query, found.tree.activation});
  }
  mainThread_.post([this, activation = found.tree.activation, request = found.tree.request, number = found.number] {
    matched_ = {nullptr, activation, request};
    delivered_ = number;
    updateCollecting();
  });
}

bool QueryPipeline::isMatched() const {
  const CompletedQuery completed = completedQuery_.value();
  return completed.text == query_.value() && state_.isCurrent(completed.activation);
}

void QueryPipeline::setElementsWanted(bool wanted) {
  if (areElementsWanted_.value() != wanted) {
    areElementsWanted_.set(wanted);
  }
}

bool QueryPipeline::isSettled() const {
  return isMatched() && !isCollecting_.value() && delivered_ == lastMatching_;
}

void QueryPipeline::connectWorking() {
  tokens_.push_back(completedQuery_.observe()
                        .map([this](const CompletedQuery& completed) { return completed.text != query_.value(); })
                        .bindTo(isWorking_));
  tokens_.push_back(state_.isActive.observe().subscribe([this](bool /*isActive*/) { updateCollecting(); }));
}

void QueryPipeline::updateCollecting() {
  const bool isCollected = state_.isCurrent(matched_.activation) && matched_.request == lastTreeRequest_;
  isCollecting_.set(state_.isActive.value() && !isCollected);
}

}  // namespace jumplark
