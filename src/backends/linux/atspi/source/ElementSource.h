#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "backends/linux/atspi/element/ElementFacts.h"
#include "backends/linux/windows/WindowSystem.h"

/// The seam between the bus (below: connection, walks, snapshots) and the vocabulary (above: what roles, states and
/// interfaces mean as "AX" attributes).
namespace jumplark::atspi {

/// Where facts come from. All calls are synchronous, may come from any thread, and answer cannotComplete within the
/// messaging time-out of a hung application (at once after its first time-out, until the next prepareSnapshot).
class ElementSource {
 public:
  virtual ~ElementSource() = default;

  /// The facts of an element, at least the wanted groups: from the snapshot when it holds the element (missing groups
  /// are read and added to it), else read from the application. Inside a live scope always read anew. invalidElement
  /// for an element that has gone.
  virtual AccessibilityResult<FactsPointer> facts(const ElementRef& element, facts::Set wanted) = 0;
  /// As facts() for many elements at once, pipelined; an entry is null where the element could not be read.
  virtual std::vector<FactsPointer> factsOfAll(const std::vector<ElementRef>& elements, facts::Set wanted) = 0;
  /// Only if the snapshot holds the element; no message. Null otherwise, and inside a live scope.
  virtual FactsPointer snapshotFacts(const ElementRef& element) = 0;

  /// Children `index` to `index + count - 1`, read page by page without asking for all; for large lists.
  virtual AccessibilityResult<std::vector<ElementRef>> childrenInRange(const ElementRef& element, int64_t index,
                                                                       int64_t count) = 0;

  /// The application element of a process; none when the process is not on the bus.
  virtual ElementRef application(int32_t pid) = 0;
  virtual AccessibilityResult<int32_t> processIdentifier(const ElementRef& element) = 0;

  /// The accessible frame of the application's topmost normal window or dialog (title and geometry decide, not the
  /// ACTIVE state); empty when it has none.
  virtual ElementRef focusedWindow(const ElementRef& application) = 0;
  /// The frames and dialogs of the application that are on screen, front to back, with the window that each belongs
  /// to.
  struct Frame {
    ElementRef element;
    WindowId window;
  };
  virtual std::vector<Frame> frames(const ElementRef& application) = 0;
  /// The menu bar inside a window, and the element that has keyboard focus; empty when there is none.
  virtual ElementRef menuBar(const ElementRef& window) = 0;
  virtual ElementRef focusedElement(const ElementRef& application) = 0;

  /// Up to `maxLength` characters (Unicode code points) of the text between two code-point offsets; UTF-8.
  virtual AccessibilityResult<std::string> textInRange(const ElementRef& element, int64_t start, int64_t end) = 0;
  /// Code-point offsets of the characters at the corners of what shows of a text, end exclusive.
  virtual AccessibilityResult<std::pair<int64_t, int64_t>> visibleTextRange(const ElementRef& element) = 0;

  /// What the application itself says lies on top at a point (points of the screen) in one of its documents: only where
  /// its word is better than its elements' places, and inside a live scope, since it takes time. Empty otherwise.
  virtual ElementRef topmostInDocument(const ElementRef& document, Point point) {
    static_cast<void>(document);
    static_cast<void>(point);
    return {};
  }

  virtual AccessibilityError grabFocus(const ElementRef& element) = 0;
  virtual AccessibilityError doAction(const ElementRef& element, int32_t index) = 0;

  /// See Accessibility.
  virtual void expectSnapshot(int32_t pid) { static_cast<void>(pid); }
  virtual void prepareSnapshot(const ElementRef& application, bool visibleOnly) = 0;
  virtual void endSnapshot() = 0;
  /// The elements of the application's snapshot in document order (depth first, children in order); empty without one.
  virtual std::vector<FactsPointer> snapshotElements(const ElementRef& application) = 0;
  virtual Token beginLiveReads() = 0;
  /// Reads an element and everything above it anew, in one go; live scopes are answered from that for 300 ms.
  virtual void prepareAction(const ElementRef& element) { static_cast<void>(element); }
  virtual void setMessagingTimeout(double seconds) = 0;
};

}  // namespace jumplark::atspi
