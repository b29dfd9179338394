#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/Token.h"
#include "platform/Workspace.h"
#include "query/engine/TargetElement.h"
#include "query/matching/JLElementMatch.h"
#include "streams/Property.h"
#include "streams/Stream.h"
#include "streams/Subject.h"

namespace jumplark {

class JLElementSelectionController;
class MainThreadCalls;
struct ActivationState;

/// From the target and what is typed to the matches, each arrow a stream:
///
///     currentApp ─► currentAppElement ─┬─► currentTree ─┬─► matches ─► selection, completedQuery ─► isWorking
///                    refresh ──────────┘                │
///     query (what is typed) ── quiet for 0.1 s ─────────┘
///
/// From currentApp's element to the matches everything runs on the shared high-priority queue, each step a task of its
/// own. A value carries the number of the activation that it was made for, and is dropped when that has ended.
///
/// Made and destroyed on the main thread, which text and state change on too; destroying it waits for a step that is
/// under way. Observable on any thread.
class QueryPipeline {
 public:
  using Tree = std::shared_ptr<JLElementTree>;

  /// What is typed, and the activation in which it was.
  struct TypedQuery {
    std::string text;
    uint64_t activation = 0;
    bool isForElements = true;
  };
  /// The matches of a query in a snapshot. The search runs when they are collected.
  struct MatchingElements {
    TargetTree tree;
    Stream<JLElementMatch> matches;
    std::string query;
    uint64_t number = 0;
  };
  /// The query whose matches were delivered last, none when that is over, and the activation it was in.
  struct CompletedQuery {
    std::optional<std::string> text;
    uint64_t activation = 0;
  };
  /// A text for the user that tells why there is nothing to choose; empty when there is something.
  struct Notice {
    std::string text;
    uint64_t activation = 0;
  };

  /// `typed` sends the text of the query's field, the present one first. State, selection and calls outlive it; it ends
  /// with the calls' being closed.
  QueryPipeline(const ActivationState& state, const Observable<std::string>& typed,
                JLElementSelectionController& selection, MainThreadCalls& mainThread);
  QueryPipeline(const QueryPipeline&) = delete;
  QueryPipeline& operator=(const QueryPipeline&) = delete;

  bool hasQuery() const { return !query_.value().empty(); }
  /// Whether the matches of what is typed are in place.
  bool isMatched() const;
  /// Takes the snapshot anew, and matches the query in it.
  void refresh() { refreshSignal_.send(true); }
  /// While elements are not wanted no query matches any; matches the present one again where that changes. Main thread.
  void setElementsWanted(bool wanted);
  /// The matches of what is typed in the latest snapshot that was asked for are in place, and nothing is under way.
  /// Main thread.
  bool isSettled() const;
  /// The number of the latest snapshot whose matches are in place, in this activation. Main thread.
  uint64_t snapshotNumber() const { return matched_.request; }
  void forgetCompletedQuery() { completedQuery_.set({}); }

  const Property<std::string>& query() const { return query_; }
  const Property<CompletedQuery>& completedQuery() const { return completedQuery_; }
  /// Whether the completed query is another than the query, as of the last change of the completed one.
  const Property<bool>& isWorking() const { return isWorking_; }
  /// The matches of a snapshot that has been asked for, at the beginning or by a refresh, are not in place yet. Sent on
  /// the main thread, also each time that matches are in place.
  const Property<bool>& isCollecting() const { return isCollecting_; }
  const Property<TargetElement>& currentAppElement() const { return currentAppElement_; }
  const Property<TargetElement>& activeWindowElement() const { return activeWindowElement_; }
  const Property<Tree>& currentTree() const { return currentTree_; }
  /// One for each snapshot.
  Observable<Notice> notices() const { return notices_.observe(); }

  const Observable<std::string>& querySignal() const { return querySignal_; }
  const Observable<TypedQuery>& throttledQuerySignal() const { return throttledQuerySignal_; }
  const Observable<TargetElement>& currentAppElementSignal() const { return currentAppElementSignal_; }
  const Observable<TargetTree>& elementTreeSignal() const { return elementTreeSignal_; }
  const Observable<MatchingElements>& matchingElementsSignal() const { return matchingElementsSignal_; }
  const ReplaySubject<bool>& refreshSignal() const { return refreshSignal_; }

 private:
  /// A snapshot that is asked for; only the latest one is taken.
  struct TreeRequest {
    TargetElement target;
    uint64_t number = 0;
  };

  void connectQuery(const Observable<std::string>& typed);
  void connectTarget();
  void connectTree();
  void connectMatching();
  void connectWorking();

  TargetElement elementOf(uint64_t activation, const std::optional<RunningApplication>& application) const;
  TargetTree takeSnapshot(const TreeRequest& request);
  /// Takes the snapshot again in a while, unless it was often enough; a text for the user then.
  std::string awaitPage(const TreeRequest& request);
  static MatchingElements matchesOf(const TargetTree& tree, const TypedQuery& typed, uint64_t number);
  void deliverMatches(const MatchingElements& found);
  void updateCollecting();

  const ActivationState& state_;
  JLElementSelectionController& selection_;
  MainThreadCalls& mainThread_;

  Property<std::string> query_;
  Property<CompletedQuery> completedQuery_;
  Property<bool> isWorking_{false};
  Property<bool> isCollecting_{false};
  Property<TargetElement> currentAppElement_;
  Property<TargetElement> activeWindowElement_;
  Property<Tree> currentTree_;
  Subject<Notice> notices_;

  Observable<std::string> querySignal_;
  Observable<TypedQuery> throttledQuerySignal_;
  Observable<TargetElement> currentAppElementSignal_;
  Observable<TargetTree> elementTreeSignal_;
  Observable<MatchingElements> matchingElementsSignal_;
  ReplaySubject<bool> refreshSignal_;

  /// How often a page that tells nothing yet has been read in an activation; on the high-priority queue.
  struct Waking {
    uint64_t activation = 0;
    int reads = 0;
  };
  Waking waking_;
  std::atomic<uint64_t> lastTreeRequest_{0};
  std::atomic<uint64_t> lastMatching_{0};
  Property<bool> areElementsWanted_{true};
  TargetTree matched_;      ///< the last whose matches are in place, without its tree; main thread
  uint64_t delivered_ = 0;  ///< the matching that is in place; main thread

  std::vector<Token> tokens_;
};

}  // namespace jumplark
