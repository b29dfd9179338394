#include "backends/linux/atspi/vocabulary/AtspiAccessibility.h"

#include <algorithm>
#include <array>
#include <utility>

#include "backends/linux/atspi/vocabulary/AttributeMap.h"
#include "backends/linux/atspi/vocabulary/HitTest.h"
#include "backends/linux/atspi/vocabulary/Vocabulary.h"
#include "backends/linux/atspi/vocabulary/WebSearch.h"
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
    : source_(source),
      vocabulary_(std::make_unique<Vocabulary>(source, windows)),
      hits_(std::make_unique<HitTest>(*vocabulary_, trust)),
      systemWide_(std::make_shared<const SystemWideHandle>()) {}

AtspiAccessibility::~AtspiAccessibility() = default;

AccessibilityResult<Subject> AtspiAccessibility::subject(const ElementRef& element, uint32_t groups) {
  if (isSystemWide(element)) {
    return AccessibilityError::attributeUnsupported;
  }
  if (handleOf(element) == nullptr) {
    return AccessibilityError::invalidElement;
  }
  const auto facts = source_.facts(element, groups | facts::identity);
  if (!facts.ok()) {
    return facts.error;
  }
  if (!facts.value || facts.value->is(state::defunct)) {
    return AccessibilityError::invalidElement;
  }
  return Subject{vocabulary_.get(), facts.value, vocabulary_->roles.role(*facts.value)};
}

AccessibilityResult<std::vector<std::string>> AtspiAccessibility::copyAttributeNames(const ElementRef& element) {
  if (isSystemWide(element)) {
    return std::vector<std::string>{};
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
  auto text = vocabulary_->text.stringForRange(*of.value.element, *range);
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
  const auto part = vocabulary_->shape.slice(*of.value.element, *answer.list, index, maxCount);
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
  const auto of = subject(element, groupsFor(names));
  if (!of.ok()) {
    return of.error;
  }
  AttributeValue::List values;
  values.reserve(names.size());
  for (const auto& name : names) {
    auto answer = attributeValue(of.value, name);
    values.push_back(answer.ok() ? std::move(answer.value) : AttributeValue(answer.error));
  }
  return values;
}

AccessibilityError AtspiAccessibility::setAttributeValue(const ElementRef& element, const std::string& name,
                                                         const AttributeValue& value) {
  // Snapshots take the interfaces of most elements for granted.
  const Token live = source_.beginLiveReads();
  const auto of = subject(element, facts::identity);
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

AccessibilityError AtspiAccessibility::press(const Subject& of) {
  const Token live = source_.beginLiveReads();
  const auto element = vocabulary_->neighbours.with(of.element, facts::actions);
  if (element->actionNames.empty()) {
    return AccessibilityError::actionUnsupported;
  }
  return source_.doAction(element->ref, 0);
}

AccessibilityError AtspiAccessibility::showMenu(const Subject& of) {
  const Token live = source_.beginLiveReads();
  const auto element = vocabulary_->neighbours.with(of.element, facts::actions);
  const int32_t index = actionIndex(element->actionNames, {"showmenu", "showcontextmenu", "menu", "contextmenu"});
  return index < 0 ? AccessibilityError::actionUnsupported : source_.doAction(element->ref, index);
}

AccessibilityError AtspiAccessibility::raise(const Subject& of) {
  if (of.role != "AXWindow") {
    return AccessibilityError::actionUnsupported;
  }
  const auto window = vocabulary_->frames.windowOf(of.element->ref, of.element->parent);
  if (!window) {
    return AccessibilityError::invalidElement;
  }
  return vocabulary_->windows.requestActive(window->id, true) ? AccessibilityError::success
                                                              : AccessibilityError::failure;
}

AccessibilityResult<int32_t> AtspiAccessibility::processIdentifier(const ElementRef& element) {
  if (const auto* absent = dynamic_cast<const AbsentApplicationHandle*>(element.get())) {
    return absent->pid();
  }
  if (handleOf(element) == nullptr) {
    return AccessibilityError::invalidElement;
  }
  return source_.processIdentifier(element);
}

ElementRef AtspiAccessibility::createApplication(int32_t pid) {
  if (auto application = source_.application(pid)) {
    return application;
  }
  return ElementRef(std::make_shared<const AbsentApplicationHandle>(pid));
}

ElementRef AtspiAccessibility::systemWideElement() {
  return systemWide_;
}

AccessibilityResult<ElementRef> AtspiAccessibility::copyElementAtPosition(const ElementRef& application, float x,
                                                                          float y) {
  const Point point{x, y};
  if (isSystemWide(application)) {
    return hits_->elementAt({}, point);
  }
  if (handleOf(application) == nullptr) {
    return AccessibilityError::invalidElement;
  }
  return hits_->elementAt(application, point);
}

void AtspiAccessibility::setMessagingTimeout(const ElementRef& /*element*/, double seconds) {
  source_.setMessagingTimeout(seconds);
}

void AtspiAccessibility::expectSnapshot(int32_t pid) {
  source_.expectSnapshot(pid);
}

void AtspiAccessibility::prepareSnapshot(const ElementRef& application, bool visibleOnly) {
  if (handleOf(application) == nullptr) {
    return;
  }
  source_.prepareSnapshot(application, visibleOnly);
  vocabulary_->neighbours.snapshotPrepared(application, visibleOnly);
  vocabulary_->snapshotPrepared();
  hits_->snapshotPrepared(application);
}

void AtspiAccessibility::endSnapshot() {
  hits_->snapshotsEnding();
  source_.endSnapshot();
  vocabulary_->neighbours.snapshotsEnded();
  vocabulary_->snapshotsEnded();
}

Token AtspiAccessibility::beginLiveReads() {
  return source_.beginLiveReads();
}

void AtspiAccessibility::prepareAction(const ElementRef& element) {
  source_.prepareAction(element);
}

}  // namespace jumplark::atspi
