#pragma once

#include <cstdint>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "backends/linux/atspi/element/ElementFacts.h"
#include "backends/linux/atspi/reading/Snapshot.h"

namespace jumplark::atspi {

/// What a live read builds on.
struct ReadScope {
  SnapshotPointer known;   ///< what it knows is not asked, and it keeps what is read; null: neither
  SnapshotPointer placed;  ///< tells how places become points of the screen; null while nothing is known of that
};

/// Reads and operates applications: the seam between the bus (below: connection, walks) and the vocabulary (above: what
/// roles, states and interfaces mean as "AX" attributes).
///
/// All calls are synchronous, may come from any thread, and answer cannotComplete within the messaging time-out of a
/// hung application (at once after its first time-out, until its next snapshot).
class ElementSource {
 public:
  virtual ~ElementSource() = default;

  /// A snapshot of this process is about to be taken, or after all it is not. Waits for nothing.
  virtual void expectSnapshot(int32_t pid) { static_cast<void>(pid); }
  virtual void expectNothing() {}
  /// Reads what an enumeration of the application is about to ask. Null when `stop` was requested meanwhile.
  virtual SnapshotPointer take(const ElementRef& application, bool visibleOnly, std::stop_token stop) = 0;
  /// Reads, in one go, what an action on the element is going to ask: the element and what it stands in, all anew; what
  /// is around them as `scope` knows it while they have not moved. Null when there is nothing to read.
  virtual SnapshotPointer takeForAction(const ElementRef& element, const ReadScope& scope) = 0;

  // Reading live.
  using Answer = AccessibilityResult<FactsPointer>;
  /// At least the wanted groups of each, pipelined; invalidElement for one that has gone. The scope is that of their
  /// application.
  virtual std::vector<Answer> read(const std::vector<ElementRef>& elements, facts::Set wanted,
                                   const ReadScope& scope) = 0;
  /// Children `index` to `index + count - 1`, read page by page without asking for all; for large lists.
  virtual AccessibilityResult<std::vector<ElementRef>> childrenInRange(const ElementRef& element, int64_t index,
                                                                       int64_t count, const ReadScope& scope) = 0;
  /// The frames and dialogs of the application as they are now.
  virtual MatchedFrames frames(const ElementRef& application) = 0;
  /// The text between two code-point offsets; UTF-8. attributeUnsupported for what may hold a secret.
  virtual AccessibilityResult<std::string> text(const ElementFacts& element, int64_t start, int64_t end,
                                                const ReadScope& scope) = 0;
  /// Code-point offsets of the characters at the corners of what shows of a text, end exclusive; as text().
  virtual AccessibilityResult<std::pair<int64_t, int64_t>> visibleText(const ElementFacts& element,
                                                                       const ReadScope& scope) = 0;
  /// What the application itself says lies on top at a point of the screen in one of its documents: only where its word
  /// is better than its elements' places. Empty otherwise.
  virtual ElementRef topmostInDocument(const ElementRef& document, Point point, const ReadScope& scope) {
    static_cast<void>(document);
    static_cast<void>(point);
    static_cast<void>(scope);
    return {};
  }
  /// The application element of a process; none when the process is not on the bus.
  virtual ElementRef application(int32_t pid) = 0;
  virtual AccessibilityResult<int32_t> processIdentifier(const ElementRef& element) = 0;

  // Doing.
  virtual AccessibilityError grabFocus(const ElementRef& element) = 0;
  virtual AccessibilityError doAction(const ElementRef& element, int32_t index) = 0;

  virtual void setMessagingTimeout(double seconds) = 0;
};

}  // namespace jumplark::atspi
