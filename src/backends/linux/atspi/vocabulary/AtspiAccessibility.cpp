#include "backends/linux/atspi/vocabulary/AtspiAccessibility.h"

#include <algorithm>
#include <mutex>
#include <stop_token>
#include <utility>

#include "backends/linux/atspi/vocabulary/AttributeMap.h"
#include "backends/linux/atspi/vocabulary/FocusedWindowButtons.h"
#include "backends/linux/atspi/vocabulary/HitTest.h"
#include "backends/linux/atspi/vocabulary/Vocabulary.h"
#include "backends/linux/atspi/vocabulary/WebSearch.h"
#include "backends/linux/windows/WindowButtons.h"
#include "backends/linux/windows/WindowSystem.h"

namespace jumplark::atspi {

namespace {

class SystemWideHandle final : public ElementHandle {
 public:
  SystemWideHandle() : ElementHandle("system-wide") {}
};

/// A process that is not on the bus: a reference whose reads fail.
class AbsentApplicationHandle final : public ElementHandle {
 public:
  explicit AbsentApplicationHandle(int32_t pid) : ElementHandle("process/" + std::to_string(pid)), pid_(pid) {}
  int32_t pid() const { return pid_; }

 private:
  int32_t pid_;
};

bool isSystemWide(const ElementRef& element) {
  return dynamic_cast<const SystemWideHandle*>(element.get()) != nullptr;
}

/// The index of the first action with one of the names, lower case without punctuation; -1 when there is none.
int32_t actionIndex(const std::vector<std::string>& actions, std::initializer_list<std::string_view> names) {
  for (size_t i = 0; i < actions.size(); ++i) {
    std::string plain;
    for (const char c : actions[i]) {
      if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) {
        plain += static_cast<char>(c | 0x20);
      }
    }
    if (std::find(names.begin(), names.end(), plain) != names.end()) {
      return static_cast<int32_t>(i);
    }
  }
  return -1;
}

}  // namespace

AtspiAccessibility::AtspiAccessibility(ElementSource& source, WindowSystem& windows,
                                       std::chrono::steady_clock::duration trust)
    : AtspiAccessibility(source, trust, std::make_shared<const Vocabulary>(View::live(source, {}, nullptr), windows),
                         ElementRef(std::make_shared<const SystemWideHandle>())) {}

AtspiAccessibility::AtspiAccessibility(ElementSource& source, std::chrono::steady_clock::duration trust,
                                       VocabularyPointer meant, ElementRef systemWide)
    : source_(source), trust_(trust), systemWide_(std::move(systemWide)), vocabulary_(std::move(meant)) {}

SnapshotPointer AtspiAccessibility::lastSnapshotOf(const ElementRef& element) const {
  return vocabulary()->view.lastOf(element);
}

VocabularyPointer AtspiAccessibility::vocabulary() const {
  const std::lock_guard lock(mutex_);
  return vocabulary_;
}

VocabularyPointer AtspiAccessibility::liveVocabulary(const SnapshotPointer& action) const {
  const VocabularyPointer now = vocabulary();
  return now->view.isLive() && !action
             ? now
             : std::make_shared<const Vocabulary>(View::live(source_, now->view.snapshots(), action), now->windows);
}

AccessibilityResult<Subject> AtspiAccessibility::subject(const ElementRef& element, uint32_t groups) {
  return subject(vocabulary(), element, groups);
}

AccessibilityResult<Subject> AtspiAccessibility::subject(const VocabularyPointer& vocabulary, const ElementRef& element,
                                                         uint32_t groups) {
  if (isSystemWide(element)) {
    return AccessibilityError::attributeUnsupported;
  }
  if (handleOf(element) == nullptr) {
    return AccessibilityError::invalidElement;
  }
  const auto facts = vocabulary->view.facts(element, groups | facts::identity);
  if (!facts.ok()) {
    return facts.error;
  }
  if (!facts.value || facts.value->is(state::defunct)) {
    return AccessibilityError::invalidElement;
  }
  return Subject{vocabulary, facts.value, vocabulary->roles.role(*facts.value)};
}

AccessibilityResult<std::vector<std::string>> AtspiAccessibility::copyAttributeNames(const ElementRef& element) {
  if (isSystemWide(element)) {
    return std::vector<std::string>{};
  }
  if (windowButtonOf(element)) {
    return attributeNamesOfWindowButtons();
  }
  const auto of = subject(element, facts::identity | facts::texts);
  return of.ok() ? AccessibilityResult<std::vector<std::string>>(attributeNames(of.value)) : of.error;
}

AccessibilityResult<std::vector<std::string>> AtspiAccessibility::copyParameterizedAttributeNames(
    const ElementRef& element) {
  if (isSystemWide(element)) {
    return std::vector<std::string>{};
  }
  const auto of = subject(element, facts::identity);
  return of.ok() ? AccessibilityResult<std::vector<std::string>>(parameterizedAttributeNames(of.value)) : of.error;
}

AccessibilityResult<AttributeValue> AtspiAccessibility::copyAttributeValue(const ElementRef& element,
                                                                           const std::string& name) {
  if (const auto* button = windowButtonOf(element)) {
    return attributeOf(*button, name);
  }
  const auto of = subject(element, groupsFor({name}));
  return of.ok() ? attributeValue(of.value, name) : of.error;
}

AccessibilityResult<AttributeValue> AtspiAccessibility::copyParameterizedAttributeValue(
    const ElementRef& element, const std::string& name, const AttributeValue& parameter) {
  const auto of = subject(element, facts::identity);
  if (!of.ok()) {
    return of.error == AccessibilityError::attributeUnsupported ? AccessibilityError::parameterizedAttributeUnsupported
                                                                : of.error;
  }
  const auto names = parameterizedAttributeNames(of.value);
  if (std::find(names.begin(), names.end(), name) == names.end()) {
    return AccessibilityError::parameterizedAttributeUnsupported;
  }
  if (name == "AXUIElementsForSearchPredicate") {
    return searchWebArea(of.value, parameter);
  }
  const Range* range = parameter.range();
  if (range == nullptr) {
    return AccessibilityError::illegalArgument;
  }
  auto text = of.value.vocabulary->text.stringForRange(*of.value.element, *range);
  return text.ok() ? AccessibilityResult<AttributeValue>(AttributeValue(std::move(text.value))) : text.error;
}

AccessibilityResult<AttributeValue::List> AtspiAccessibility::copyAttributeValues(const ElementRef& element,
                                                                                  const std::string& name,
                                                                                  int64_t index, int64_t maxCount) {
  const auto of = subject(element, facts::identity);
  if (!of.ok()) {
    return of.error;
  }
  const auto answer = listAttribute(of.value, name);
  if (!answer.list) {
    return answer.error;
  }
  if (index < 0 || maxCount < 0 || index > answer.list->count) {
    return AccessibilityError::illegalArgument;
  }
  const auto part = of.value.vocabulary->shape.slice(*of.value.element, *answer.list, index, maxCount);
  return part.ok()
             ? AccessibilityResult<AttributeValue::List>(AttributeValue::List(part.value.begin(), part.value.end()))
             : part.error;
}

AccessibilityResult<int64_t> AtspiAccessibility::attributeValueCount(const ElementRef& element,
                                                                     const std::string& name) {
  const auto of = subject(element, facts::identity);
  if (!of.ok()) {
    return of.error;
  }
  const auto answer = listAttribute(of.value, name);
  return answer.list ? AccessibilityResult<int64_t>(answer.list->count) : answer.error;
}

AccessibilityResult<AttributeValue::List> AtspiAccessibility::copyMultipleAttributeValues(
    const ElementRef& element, const std::vector<std::string>& names) {
  const auto* const button = windowButtonOf(element);
  const auto of = button ? AccessibilityResult<Subject>(Subject()) : subject(element, groupsFor(names));
  if (!of.ok()) {
    return of.error;
  }
  AttributeValue::List values;
  values.reserve(names.size());
  for (const auto& name : names) {
    auto answer = button ? attributeOf(*button, name) : attributeValue(of.value, name);
    values.push_back(answer.ok() ? std::move(answer.value) : AttributeValue(answer.error));
  }
  return values;
}

AccessibilityError AtspiAccessibility::setAttributeValue(const ElementRef& element, const std::string& name,
                                                         const AttributeValue& value) {
  // Snapshots take the interfaces of most elements for granted.
  const auto of = subject(liveVocabulary(), element, facts::identity);
  if (!of.ok()) {
    return of.error;
  }
  if (name != "AXFocused" || (of.value.element->interfaces & interface_bit::component) == 0) {
    return AccessibilityError::attributeUnsupported;
  }
  const bool* wanted = value.boolean();
  if (wanted == nullptr || !*wanted) {
    return AccessibilityError::illegalArgument;
  }
  return source_.grabFocus(element);
}

AccessibilityError AtspiAccessibility::performAction(const ElementRef& element, const std::string& action) {
  if (const auto* button = windowButtonOf(element)) {
    const bool isAsked = action == "AXPress" && vocabulary()->windows.request(button->window(), button->wish());
    return isAsked               ? AccessibilityError::success
           : action == "AXPress" ? AccessibilityError::failure
                                 : AccessibilityError::actionUnsupported;
  }
  if (action == "AXRaise" && raiseKnownWindow(element)) {
    return AccessibilityError::success;
  }
  const auto of = subject(element, facts::identity);
  if (!of.ok()) {
    return of.error == AccessibilityError::attributeUnsupported ? AccessibilityError::actionUnsupported : of.error;
  }
  if (action == "AXPress") {
    return press(of.value);
  }
  if (action == "AXShowMenu") {
    return showMenu(of.value);
  }
  return action == "AXRaise" ? raise(of.value) : AccessibilityError::actionUnsupported;
}

std::vector<std::string> AtspiAccessibility::actionsNow(const Subject& of) {
  const FactsPointer now = liveVocabulary()->view.get(of.element->ref, facts::identity | facts::actions);
  return now ? now->actionNames : std::vector<std::string>();
}

AccessibilityError AtspiAccessibility::press(const Subject& of) {
  return actionsNow(of).empty() ? AccessibilityError::actionUnsupported : source_.doAction(of.element->ref, 0);
}

AccessibilityError AtspiAccessibility::showMenu(const Subject& of) {
  const int32_t index = actionIndex(actionsNow(of), {"showmenu", "showcontextmenu", "menu", "contextmenu"});
  return index < 0 ? AccessibilityError::actionUnsupported : source_.doAction(of.element->ref, index);
}

bool AtspiAccessibility::raiseKnownWindow(const ElementRef& frame) {
  const VocabularyPointer now = vocabulary();
  const SnapshotPointer last = now->view.lastOf(frame);
  if (!last) {
    return false;
  }
  const WindowId window = FrameWindows::idIn(*last, frame);
  return window && now->windows.requestActive(window, true);
}

AccessibilityError AtspiAccessibility::raise(const Subject& of) {
  if (of.role != "AXWindow") {
    return AccessibilityError::actionUnsupported;
  }
  const auto window = of.vocabulary->frames.windowOf(of.element->ref, of.element->parent);
  if (!window) {
    return AccessibilityError::invalidElement;
  }
  return of.vocabulary->windows.requestActive(window->id, true) ? AccessibilityError::success
                                                                : AccessibilityError::failure;
}

AccessibilityResult<int32_t> AtspiAccessibility::processIdentifier(const ElementRef& element) {
  if (const auto* absent = dynamic_cast<const AbsentApplicationHandle*>(element.get())) {
    return absent->pid();
  }
  if (const auto* button = windowButtonOf(element)) {
    return processIdentifier(button->application());
  }
  if (handleOf(element) == nullptr) {
    return AccessibilityError::invalidElement;
  }
  return source_.processIdentifier(element);
}

ElementRef AtspiAccessibility::createApplication(int32_t pid) {
  if (auto application = vocabulary()->view.application(pid)) {
    return application;
  }
  return ElementRef(std::make_shared<const AbsentApplicationHandle>(pid));
}

ElementRef AtspiAccessibility::systemWideElement() {
  return systemWide_;
}

AccessibilityResult<ElementRef> AtspiAccessibility::copyElementAtPosition(const ElementRef& application, float x,
                                                                          float y) {
  const bool isAnywhere = isSystemWide(application);
  if (!isAnywhere && handleOf(application) == nullptr) {
    return AccessibilityError::invalidElement;
  }
  const VocabularyPointer now = vocabulary();
  const VocabularyPointer live = liveVocabulary();
  return HitTest(*now, *live, trust_).elementAt(isAnywhere ? ElementRef() : application, {x, y});
}

void AtspiAccessibility::setMessagingTimeout(const ElementRef& /*element*/, double seconds) {
  source_.setMessagingTimeout(seconds);
}

bool AtspiAccessibility::isKnownDisabled(const ElementRef& element) {
  const SnapshotPointer known = vocabulary()->view.lastOf(element);
  const FactsPointer facts = known ? known->find(element) : nullptr;
  return facts && facts->has(facts::identity) && !facts->is(state::enabled) && !facts->is(state::sensitive);
}

std::vector<ElementRef> AtspiAccessibility::windowButtons(const ElementRef& application) {
  return focusedWindowButtons(*vocabulary(), application);
}

void AtspiAccessibility::expectSnapshot(int32_t pid) {
  source_.expectSnapshot(pid);
}

void AtspiAccessibility::prepareSnapshot(const ElementRef& application, bool visibleOnly) {
  if (handleOf(application) == nullptr) {
    return;
  }
  std::stop_token end;
  {
    const std::lock_guard lock(mutex_);
    end = end_.get_token();
  }
  if (const SnapshotPointer taken = source_.take(application, visibleOnly, end)) {
    putInForce(taken, end);
  }
}

void AtspiAccessibility::putInForce(const SnapshotPointer& taken, const std::stop_token& end) {
  VocabularyPointer dropped;  // outlives the lock
  const std::lock_guard lock(mutex_);
  if (end.stop_requested()) {
    return;
  }
  const View& view = vocabulary_->view;
  View::Snapshots snapshots = view.isLive() ? View::Snapshots() : view.snapshots();
  std::erase_if(snapshots, [&](const auto& one) { return one->application == taken->application; });
  snapshots.push_back(taken);
  dropped = std::exchange(
      vocabulary_, std::make_shared<const Vocabulary>(View(source_, std::move(snapshots)), vocabulary_->windows));
}

void AtspiAccessibility::endSnapshot() {
  VocabularyPointer dropped;  // outlives the lock
  {
    const std::lock_guard lock(mutex_);
    dropped = vocabulary_;
    end_.request_stop();
    end_ = {};
    // The geometry of the last snapshots stays known, since clicks come after they have ended.
    vocabulary_ = std::make_shared<const Vocabulary>(View::live(source_, vocabulary_->view.snapshots(), nullptr),
                                                     vocabulary_->windows);
  }
  source_.expectNothing();
}

std::shared_ptr<AccessibilityPlatform> AtspiAccessibility::live() {
  return anew(nullptr);
}

std::shared_ptr<AccessibilityPlatform> AtspiAccessibility::liveForAction(const ElementRef& element) {
  return anew(source_.takeForAction(element, vocabulary()->view.scopeOf(element)));
}

std::shared_ptr<AccessibilityPlatform> AtspiAccessibility::anew(const SnapshotPointer& action) const {
  return std::shared_ptr<AccessibilityPlatform>(
      new AtspiAccessibility(source_, trust_, liveVocabulary(action), systemWide_));
}

}  // namespace jumplark::atspi
