#include "backends/linux/atspi/vocabulary/AtspiAccessibility.h"

#include <algorithm>
#include <mutex>
#include <stop_token>
#include <utility>

#include "backends/linux/atspi/vocabulary/AttributeMap.h"
#include "backends/linux/atspi/vocabulary/HitTest.h"
#include "backends/linux/atspi/vocabulary/Vocabulary.h"
#include "backends/linux/atspi/vocabulary/WebSearch.h"
#include "backends/linux/windows/WindowSystem.h"

namespace jumplark::atspi {

namespace {

/// How many live scopes the thread is in.
thread_local int liveScopes = 0;

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

/// The views that a thread may mean. May be used from any thread.
class AtspiAccessibility::Views {
 public:
  Views(ElementSource& source, WindowSystem& windows) : source_(source), windows_(windows) {
    install({}, {}, std::make_shared<PanelFrames>(windows));
  }

  std::shared_ptr<Vocabulary> current() const {
    const std::lock_guard lock(mutex_);
    return current_;
  }
  std::shared_ptr<Vocabulary> live() const {
    const std::lock_guard lock(mutex_);
    return action_ && Clock::now() < actionUntil_ ? action_ : live_;
  }
  std::stop_token untilTheEnd() const {
    const std::lock_guard lock(mutex_);
    return end_.get_token();
  }

  /// Puts a snapshot in force, unless all have been ended since `end` was asked for.
  void add(const SnapshotPointer& snapshot, const std::stop_token& end) {
    const auto dropped = current();  // outlives the lock
    const std::lock_guard lock(mutex_);
    if (snapshot && !end.stop_requested()) {
      View::Snapshots snapshots = with(current_->view.snapshots(), snapshot);
      install(snapshots, snapshots, std::make_shared<PanelFrames>(windows_));
    }
  }
  /// The geometry of the last snapshots stays known, since clicks come after they have ended.
  void end() {
    const auto dropped = current();
    const std::lock_guard lock(mutex_);
    end_.request_stop();
    end_ = {};
    install({}, current_->view.last(), current_->panels);
  }
  /// Live reads are answered from what was read for an action.
  void beginAction(const SnapshotPointer& read, TimePoint until) {
    const std::lock_guard lock(mutex_);
    action_ = made(View::Kind::live, {read}, current_->view.last(), current_->panels);
    actionUntil_ = until;
  }

 private:
  static View::Snapshots with(View::Snapshots snapshots, const SnapshotPointer& added) {
    std::erase_if(snapshots, [&](const auto& one) { return one->application == added->application; });
    snapshots.push_back(added);
    return snapshots;
  }
  std::shared_ptr<Vocabulary> made(View::Kind kind, View::Snapshots snapshots, View::Snapshots last,
                                   const std::shared_ptr<PanelFrames>& panels) {
    return std::make_shared<Vocabulary>(View(source_, kind, std::move(snapshots), std::move(last)), windows_, panels);
  }
  void install(const View::Snapshots& snapshots, const View::Snapshots& last,
               const std::shared_ptr<PanelFrames>& panels) {
    live_ = made(View::Kind::live, {}, last, panels);
    current_ = made(View::Kind::snapshots, snapshots, last, panels);
  }

  ElementSource& source_;
  WindowSystem& windows_;
  mutable std::mutex mutex_;  ///< leaf
  std::stop_source end_;
  std::shared_ptr<Vocabulary> current_;
  std::shared_ptr<Vocabulary> live_;
  std::shared_ptr<Vocabulary> action_;
  TimePoint actionUntil_{};
};

AtspiAccessibility::AtspiAccessibility(ElementSource& source, WindowSystem& windows,
                                       std::chrono::steady_clock::duration trust)
    : source_(source),
      trust_(trust),
      views_(std::make_unique<Views>(source, windows)),
      systemWide_(std::make_shared<const SystemWideHandle>()) {}

AtspiAccessibility::~AtspiAccessibility() = default;

std::shared_ptr<const Snapshot> AtspiAccessibility::lastSnapshotOf(const ElementRef& element) const {
  return views_->current()->view.lastOf(element);
}

std::shared_ptr<Vocabulary> AtspiAccessibility::vocabulary() const {
  return liveScopes > 0 ? views_->live() : views_->current();
}

AccessibilityResult<Subject> AtspiAccessibility::subject(const ElementRef& element, uint32_t groups) {
  return subject(vocabulary(), element, groups);
}

AccessibilityResult<Subject> AtspiAccessibility::subject(const std::shared_ptr<Vocabulary>& vocabulary,
                                                         const ElementRef& element, uint32_t groups) {
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
  const auto of = subject(views_->live(), element, facts::identity);
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
  const FactsPointer now = views_->live()->view.get(of.element->ref, facts::identity | facts::actions);
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
  const std::shared_ptr<Vocabulary> now = vocabulary();
  const SnapshotPointer last = now->view.lastOf(frame);
  if (!last) {
    return false;
  }
  const auto window = now->frames.windowIn(*last, frame);
  return window && now->windows.requestActive(window->id, true);
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
  const std::shared_ptr<Vocabulary> now = vocabulary();
  const std::shared_ptr<Vocabulary> live = views_->live();
  return HitTest(*now, *live, trust_).elementAt(isAnywhere ? ElementRef() : application, {x, y});
}

void AtspiAccessibility::setMessagingTimeout(const ElementRef& /*element*/, double seconds) {
  source_.setMessagingTimeout(seconds);
}

void AtspiAccessibility::expectSnapshot(int32_t pid) {
  source_.expectSnapshot(pid);
}

void AtspiAccessibility::prepareSnapshot(const ElementRef& application, bool visibleOnly) {
  if (handleOf(application) != nullptr) {
    const std::stop_token end = views_->untilTheEnd();
    views_->add(source_.take(application, visibleOnly, end), end);
  }
}

void AtspiAccessibility::endSnapshot() {
  views_->end();
  source_.expectNothing();
}

Token AtspiAccessibility::beginLiveReads() {
  ++liveScopes;
  return Token([] { --liveScopes; });
}

void AtspiAccessibility::prepareAction(const ElementRef& element) {
  constexpr auto kFresh = std::chrono::milliseconds(300);
  const TimePoint until = Clock::now() + kFresh;
  const std::shared_ptr<Vocabulary> now = views_->current();
  if (const SnapshotPointer read = source_.takeForAction(element, now->view.scopeOf(element))) {
    views_->beginAction(read, until);
  }
}

}  // namespace jumplark::atspi
