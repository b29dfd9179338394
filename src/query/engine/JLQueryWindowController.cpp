#include "query/engine/JLQueryWindowController.h"

#include <chrono>

#include "accessibility/JLElement.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "platform/Screens.h"
#include "platform/Workspace.h"
#include "query/engine/QueryWindowPlacement.h"
#include "streams/CombineLatest.h"

namespace jumplark {
namespace {

constexpr auto kWorkingQuietInterval = std::chrono::milliseconds(100);
constexpr auto kSpinnerFade = std::chrono::milliseconds(100);

}  // namespace

JLQueryWindowController::JLQueryWindowController(QueryWindowEvents events) : events_(std::move(events)) {
  window_.setWindowController(this);
  window_.queryField().setDelegate(this);
  windowDidLoad();
}

JLQueryWindowController::~JLQueryWindowController() {
  observations_.clear();
  window_.setWindowController(nullptr);
  window_.queryField().setDelegate(nullptr);
}

void JLQueryWindowController::windowDidLoad() {
  TaskQueue& mainQueue = Platform::current().queues->mainQueue();
  observations_.push_back(targetApp_.observe().subscribe([this](const auto& target) { targetAppChanged(target); }));
  window_.view().startSpinner();
  observations_.push_back(combineLatest(isWorking_.observe(), isShown_.observe())
                              .map([](const auto& both) { return both.first && both.second; })
                              .distinctUntilChanged()
                              .debounce(kWorkingQuietInterval, mainQueue)
                              .subscribe([this](const bool& isSeenWorking) {
                                window_.view().setSpinnerOpacity(isSeenWorking ? 1.0 : 0.0, kSpinnerFade);
                              }));
}

void JLQueryWindowController::targetAppChanged(const std::shared_ptr<JLElement>& target) {
  if (!target) {
    hideWindow();
  } else if (!isWindowVisible()) {
    displayWindowOverApplication(target->pid());
  }
}

void JLQueryWindowController::displayWindowOverApplication(int32_t pid) {
  const Platform& platform = Platform::current();
  const Rect target = platform.workspace->focusedWindowFrame(pid).value_or(platform.screens->primaryFrame());
  const Rect window = window_.view().frame();
  window_.view().setFrameTopLeft(queryWindowTopLeft(target, {window.width, window.height}, platform.screens->frames(),
                                                    platform.screens->workAreas()));
  displayWindow();
}

void JLQueryWindowController::displayWindow() {
  isShown_.set(true);
  makeWindowKey();
  window_.queryField().becomeFirstResponder();
}

void JLQueryWindowController::makeWindowKey() {
  if (JLQueryWindow::canBecomeKeyWindow()) {
    window_.view().makeKeyAndOrderFront();
  }
}

void JLQueryWindowController::hideWindow() {
  isShown_.set(false);
  window_.view().setSpinnerOpacity(0, Duration::zero());
  window_.view().orderOut();
  window_.queryField().setText("");
  window_.queryField().resignFirstResponder();
  window_.queryField().textDidChange("");
  setNotice("");
  setCommands(std::nullopt);
  announced_.clear();
}

void JLQueryWindowController::setNotice(const std::string& notice) {
  notice_ = notice;
  if (!listsCommands_) {
    window_.view().setNotice(notice);
  }
}

void JLQueryWindowController::setCommands(const std::optional<CommandRows>& commands,
                                          const std::string& insteadOfThem) {
  listsCommands_ = commands.has_value();
  window_.view().setNotice(commands ? insteadOfThem : notice_);
  window_.view().setCommands(commands.value_or(CommandRows{}));
}

void JLQueryWindowController::announceSelection(const std::string& description) {
  if (announced_ != description) {
    announced_ = description;
    window_.view().announceSelection(description);
  }
}

void JLQueryWindowController::keyDown(const KeyEvent& event) {
  events_.keyDown(event);
}

void JLQueryWindowController::keyUp(const KeyEvent& /*event*/) {}

void JLQueryWindowController::windowDidResignKey() {
  events_.didResignKey();
}

void JLQueryWindowController::windowClosedMenus() {
  events_.menusDidClose();
}

void JLQueryWindowController::commandRowPressed(size_t row) {
  events_.commandRowPressed(row);
}

void JLQueryWindowController::commandsScrolled(int rows) {
  events_.commandsScrolled(rows);
}

std::vector<std::string> JLQueryWindowController::completionsForPartialWord(const std::string& /*word*/) {
  return {};
}

}  // namespace jumplark
