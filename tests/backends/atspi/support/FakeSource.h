#pragma once

#include <initializer_list>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/source/ElementSource.h"
#include "platform/Utf8.h"

namespace jumplark::atspi {

/// Elements in memory. Reads that a real source would send a message for are counted.
class FakeSource final : public ElementSource {
 public:
  /// Adds an element that shows, and returns it for more to be said of it. An empty parent makes an application, whose
  /// bus name is its id; every other id belongs to its parent's application.
  ElementFacts& add(const std::string& id, uint32_t roleNumber, const std::string& parent,
                    std::optional<Rect> extents = Rect{0, 0, 100, 100}) {
    const std::string bus = parent.empty() ? id : handleOf(ref(parent))->busName();
    refs_[id] = makeRef(bus, "/" + id);
    ElementFacts& element = elements_[refs_[id]];
    element.ref = refs_[id];
    element.role = roleNumber;
    element.interfaces = roleNumber == role::application ? 0 : interface_bit::component;
    set(element, {state::showing, state::visible, state::enabled, state::sensitive});
    element.extents = extents;
    element.childCount = 0;
    if (!parent.empty()) {
      ElementFacts& above = elements_.at(ref(parent));
      element.parent = above.ref;
      above.children.push_back(element.ref);
      ++above.childCount;
    }
    return element;
  }
  static void set(ElementFacts& element, std::initializer_list<int> states) {
    for (const int one : states) {
      element.states |= uint64_t{1} << one;
    }
  }
  static void hide(ElementFacts& element) {
    element.states &= ~(uint64_t{1} << state::showing);
    element.extents.reset();
  }
  const ElementRef& ref(const std::string& id) const { return refs_.at(id); }
  ElementFacts& at(const std::string& id) { return elements_.at(ref(id)); }

  int messages = 0;
  std::unordered_map<ElementRef, std::string, ElementRefHash> longTexts;  ///< UTF-8
  std::pair<int64_t, int64_t> visibleText_{0, 0};
  std::unordered_map<int32_t, ElementRef> processes;
  struct Frame {
    ElementRef element;
    WindowId window;
    WindowType type = WindowType::normal;
  };
  std::vector<Frame> framesOnScreen;
  std::set<std::string> gone;
  AccessibilityError liveError = AccessibilityError::success;
  std::vector<std::string> done;  ///< "focus e", "action e 1"

  std::vector<Answer> read(const std::vector<ElementRef>& elements, facts::Set wanted,
                           const ReadScope& scope) override {
    std::vector<Answer> answers;
    for (const ElementRef& one : elements) {
      ++messages;
      const auto found = elements_.find(one);
      const bool isGone = found == elements_.end() || gone.contains(one.text());
      if (liveError != AccessibilityError::success || isGone) {
        answers.push_back(liveError != AccessibilityError::success ? liveError : AccessibilityError::invalidElement);
        continue;
      }
      const FactsPointer known = scope.known ? scope.known->find(one) : nullptr;
      answers.push_back(
          std::make_shared<const ElementFacts>(limited(found->second, wanted | (known ? known->known : 0))));
      if (scope.known) {
        scope.known->add(answers.back().value);
      }
    }
    return answers;
  }
  AccessibilityResult<std::vector<ElementRef>> childrenInRange(const ElementRef& element, int64_t index, int64_t count,
                                                               const ReadScope&) override {
    ++messages;
    const auto& all = elements_.at(element).children;
    return std::vector<ElementRef>(all.begin() + index, all.begin() + index + count);
  }
  ElementRef application(int32_t pid) override { return processes.contains(pid) ? processes[pid] : ElementRef(); }
  AccessibilityResult<int32_t> processIdentifier(const ElementRef&) override { return 77; }
  MatchedFrames frames(const ElementRef& application) override {
    MatchedFrames own;
    for (const Frame& frame : framesOnScreen) {
      if (handleOf(frame.element)->busName() == handleOf(application)->busName()) {
        MatchedFrame& matched = own.matched.emplace_back();
        matched.frame.element = frame.element;
        matched.window.id = frame.window;
        matched.window.type = frame.type;
      }
    }
    own.focused = own.matched.empty() ? ElementRef() : own.matched.front().frame.element;
    return own;
  }
  AccessibilityResult<std::string> text(const ElementFacts& element, int64_t start, int64_t end,
                                        const ReadScope&) override {
    ++messages;
    return codePoints(longTexts.at(element.ref), 0, start, end);
  }
  AccessibilityResult<std::pair<int64_t, int64_t>> visibleText(const ElementFacts&, const ReadScope&) override {
    ++messages;
    return visibleText_;
  }
  AccessibilityError grabFocus(const ElementRef& element) override {
    done.push_back("focus " + element.text());
    return AccessibilityError::success;
  }
  AccessibilityError doAction(const ElementRef& element, int32_t index) override {
    done.push_back("action " + element.text() + " " + std::to_string(index));
    return AccessibilityError::success;
  }
  SnapshotPointer take(const ElementRef& application, bool visibleOnly, std::stop_token) override {
    SnapshotDraft draft;
    draft.application = ref(handleOf(application)->busName());
    draft.visibleOnly = visibleOnly;
    MatchedFrames now = frames(application);
    draft.frames = std::move(now.matched);
    draft.focusedWindow = now.focused;
    collect(draft.application, visibleOnly, draft.elements);
    return std::make_shared<const Snapshot>(std::move(draft));
  }
  SnapshotPointer takeForAction(const ElementRef&, const ReadScope&) override { return nullptr; }
  void setMessagingTimeout(double) override {}

 private:
  static ElementFacts limited(const ElementFacts& element, facts::Set known) {
    ElementFacts copy = element;
    copy.known = known;
    if ((known & facts::texts) == 0) {
      copy.name = copy.description = "";
    }
    if ((known & facts::extents) == 0) {
      copy.extents.reset();
    }
    if ((known & facts::children) == 0) {
      copy.children.clear();
      copy.childCount = -1;
    }
    if ((known & facts::relations) == 0) {
      copy.labelledBy.clear();
    }
    if ((known & facts::attributes) == 0) {
      copy.attributes.clear();
    }
    if ((known & facts::text) == 0) {
      copy.shortText = "";
    }
    return copy;
  }
  void collect(const ElementRef& element, bool visibleOnly, ElementDraft& to) const {
    const ElementFacts& facts = elements_.at(element);
    if (visibleOnly && facts.role != role::application && !facts.is(state::showing)) {
      to.add(limited(facts, facts::identity));
      return;
    }
    to.add(limited(facts, ~facts::Set{0}));
    for (const auto& child : facts.children) {
      collect(child, visibleOnly, to);
    }
  }

  std::unordered_map<std::string, ElementRef> refs_;
  std::unordered_map<ElementRef, ElementFacts, ElementRefHash> elements_;
};

}  // namespace jumplark::atspi
