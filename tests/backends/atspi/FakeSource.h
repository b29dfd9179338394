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
#include "backends/linux/atspi/element/TextUnits.h"
#include "backends/linux/atspi/source/ElementSource.h"

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
  std::pair<int64_t, int64_t> visibleText{0, 0};
  std::unordered_map<int32_t, ElementRef> processes;
  std::vector<Frame> framesOnScreen;
  ElementRef menuBarOfWindow;
  std::set<std::string> gone;
  AccessibilityError liveError = AccessibilityError::success;
  std::vector<std::string> done;  ///< "focus e", "action e 1"

  AccessibilityResult<FactsPointer> facts(const ElementRef& element, facts::Set wanted) override {
    if (auto held = snapshotFacts(element)) {
      return held;
    }
    ++messages;
    if (liveError != AccessibilityError::success) {
      return liveError;
    }
    const auto found = elements_.find(element);
    if (found == elements_.end() || gone.contains(element.text())) {
      return AccessibilityError::invalidElement;
    }
    return limited(found->second, wanted);
  }
  std::vector<FactsPointer> factsOfAll(const std::vector<ElementRef>& elements, facts::Set wanted) override {
    std::vector<FactsPointer> all;
    for (const auto& one : elements) {
      const auto answer = facts(one, wanted);
      all.push_back(answer.ok() ? answer.value : nullptr);
    }
    return all;
  }
  FactsPointer snapshotFacts(const ElementRef& element) override {
    const auto found = snapshot_.find(element);
    return liveScopes_ > 0 || found == snapshot_.end() ? nullptr : found->second;
  }
  AccessibilityResult<std::vector<ElementRef>> childrenInRange(const ElementRef& element, int64_t index,
                                                               int64_t count) override {
    ++messages;
    const auto& all = elements_.at(element).children;
    return std::vector<ElementRef>(all.begin() + index, all.begin() + index + count);
  }
  ElementRef application(int32_t pid) override { return processes.contains(pid) ? processes[pid] : ElementRef(); }
  AccessibilityResult<int32_t> processIdentifier(const ElementRef&) override { return 77; }
  ElementRef focusedWindow(const ElementRef&) override {
    return framesOnScreen.empty() ? ElementRef() : framesOnScreen.front().element;
  }
  std::vector<Frame> frames(const ElementRef& application) override {
    std::vector<Frame> own;
    for (const auto& frame : framesOnScreen) {
      if (handleOf(frame.element)->busName() == handleOf(application)->busName()) {
        own.push_back(frame);
      }
    }
    return own;
  }
  ElementRef menuBar(const ElementRef& window) override { return window ? menuBarOfWindow : ElementRef(); }
  ElementRef focusedElement(const ElementRef&) override { return {}; }
  AccessibilityResult<std::string> textInRange(const ElementRef& element, int64_t start, int64_t end) override {
    ++messages;
    const std::string& text = longTexts.at(element);
    std::string part;
    int64_t at = 0;
    for (size_t byte = 0; byte < text.size(); ++at) {
      size_t next = byte + 1;
      while (next < text.size() && (static_cast<unsigned char>(text[next]) & 0xC0) == 0x80) {
        ++next;
      }
      if (at >= start && at < end) {
        part += text.substr(byte, next - byte);
      }
      byte = next;
    }
    return part;
  }
  AccessibilityResult<std::pair<int64_t, int64_t>> visibleTextRange(const ElementRef&) override {
    ++messages;
    return visibleText;
  }
  AccessibilityError grabFocus(const ElementRef& element) override {
    done.push_back("focus " + element.text());
    return AccessibilityError::success;
  }
  AccessibilityError doAction(const ElementRef& element, int32_t index) override {
    done.push_back("action " + element.text() + " " + std::to_string(index));
    return AccessibilityError::success;
  }
  void prepareSnapshot(const ElementRef& application, bool visibleOnly) override {
    snapshot_.clear();
    snapshotOrder_.clear();
    takeSnapshot(application, visibleOnly);
  }
  void endSnapshot() override {
    snapshot_.clear();
    snapshotOrder_.clear();
  }
  std::vector<FactsPointer> snapshotElements(const ElementRef& application) override {
    const bool holds = snapshot_.contains(application);
    return holds ? snapshotOrder_ : std::vector<FactsPointer>{};
  }
  Token beginLiveReads() override {
    ++liveScopes_;
    return Token([this] { --liveScopes_; });
  }
  void setMessagingTimeout(double) override {}

 private:
  static FactsPointer limited(const ElementFacts& element, facts::Set known) {
    auto copy = std::make_shared<ElementFacts>(element);
    copy->known = known;
    if ((known & facts::texts) == 0) {
      copy->name = copy->description = "";
    }
    if ((known & facts::extents) == 0) {
      copy->extents.reset();
    }
    if ((known & facts::children) == 0) {
      copy->children.clear();
      copy->childCount = -1;
    }
    if ((known & facts::relations) == 0) {
      copy->labelledBy.clear();
    }
    if ((known & facts::attributes) == 0) {
      copy->attributes.clear();
    }
    if ((known & facts::text) == 0) {
      copy->shortText = "";
    }
    return copy;
  }
  void takeSnapshot(const ElementRef& element, bool visibleOnly) {
    const ElementFacts& facts = elements_.at(element);
    if (visibleOnly && facts.role != role::application && !facts.is(state::showing)) {
      snapshot_[element] = limited(facts, facts::identity);
      return;
    }
    auto held = limited(facts, ~facts::Set{0});
    snapshot_[element] = held;
    snapshotOrder_.push_back(held);
    for (const auto& child : facts.children) {
      takeSnapshot(child, visibleOnly);
    }
  }

  std::unordered_map<std::string, ElementRef> refs_;
  std::unordered_map<ElementRef, ElementFacts, ElementRefHash> elements_;
  std::unordered_map<ElementRef, FactsPointer, ElementRefHash> snapshot_;
  std::vector<FactsPointer> snapshotOrder_;
  int liveScopes_ = 0;
};

}  // namespace jumplark::atspi
