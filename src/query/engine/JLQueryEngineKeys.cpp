#include "accessibility/JLElement.h"
#include "input/ZMOModifierTapDetector.h"
#include "platform/Input.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "platform/Screens.h"
#include "platform/Views.h"
#include "query/engine/JLQueryEngine.h"
#include "query/engine/JLQueryWindowController.h"
#include "query/engine/SelectionDescription.h"
#include "selection/JLElementSelectionController.h"
#include "streams/NotificationCenter.h"
#include "tree/JLElementNode.h"
#include "tree/JLElementTree.h"

namespace jumplark {
namespace {

/// Whether a key types a character; on a layout without Latin letters, whether it would on one that has them.
bool types(const KeyEvent& event, const char* character) {
  return event.characters == character || event.charactersIgnoringModifiers == character;
}

}  // namespace

void JLQueryEngine::keyDown(const KeyEvent& event) {
  if (window_->hasMarkedText()) {
    return;
  }
  const uint64_t flags = event.flags & modifier_flag::deviceIndependentMask;
  if (event.keyCode == key_code::returnKey) {
    actionElement();
  } else if (event.keyCode == key_code::escape) {
    deactivate();
  } else if (event.keyCode == key_code::tab) {
    if (flags == 0) {
      selectNextMatch();
    } else if (flags == modifier_flag::shift) {
      selectPreviousMatch();
    }
  } else if (event.keyCode == key_code::f5 && flags == 0) {
    refresh();
  } else if (flags == modifier_flag::command) {
    commandKeyDown(event);
  } else if (flags == modifier_flag::control) {
    selection_->selectionKeyReceived(event);
  }
}

void JLQueryEngine::commandKeyDown(const KeyEvent& event) {
  if (types(event, "r")) {
    refresh();
  } else if (types(event, ",")) {
    showPreferencesWindow();
  }
}

void JLQueryEngine::refresh() {
  refreshSignal_.send(true);
}

void JLQueryEngine::selectNextMatch() {
  selection_->selectNextMatch();
}

void JLQueryEngine::selectPreviousMatch() {
  selection_->selectPreviousMatch();
}

// The detector calls on its tap's thread, which must not wait for the main one.
void JLQueryEngine::subscribeToModifierTaps() {
  taps_->subscribeToModifierTapWithBlock(modifier_flag::control, [this](uint64_t tapCount, auto& /*detector*/) {
    postToMain([tapCount](JLQueryEngine& engine) { engine.controlTapped(tapCount); });
  });
  taps_->subscribeToModifierTapWithBlock(modifier_flag::command, [this](uint64_t tapCount, auto& /*detector*/) {
    postToMain([tapCount](JLQueryEngine& engine) { engine.commandTapped(tapCount); });
  });
  // Hit tests can wait for applications, so they are made there.
  tokens_.push_back(commandTaps_.observe()
                        .deliverOn(Platform::current().queues->highPriorityQueue())
                        .filter([this](uint64_t activation) { return isCurrent(activation); })
                        .subscribe([this](uint64_t) { lookUpElementUnderPointer(); }));
  taps_->subscribeToModifierTapWithBlock(modifier_flag::option, [](uint64_t /*tapCount*/, auto& /*detector*/) {});
}

void JLQueryEngine::controlTapped(uint64_t tapCount) {
  if (!isActive_.value()) {
    return;  // tapped just before the end
  }
  if (tapCount == 1) {
    mouseToElement();
  } else if (tapCount == 2) {
    focusElement();
  }
}

void JLQueryEngine::commandTapped(uint64_t tapCount) {
  if (tapCount == 1) {
    commandTaps_.send(activation_);
  }
}

/// Looked up, and nothing made of it.
void JLQueryEngine::lookUpElementUnderPointer() const {
  const auto element = JLElement::elementAtPointFromBottomLeft(Platform::current().screens->pointerLocation());
  const Tree tree = currentTree_.value();
  if (element && tree) {
    tree->nodeForElement(*element);
  }
}

void JLQueryEngine::observeSelection() {
  tokens_.push_back(NotificationCenter::defaultCenter().observe("ElementSelectionChanged", [this](const auto&) {
    postToMain([](JLQueryEngine& engine) { engine.announceSelection(); });
  }));
}

void JLQueryEngine::announceSelection() {
  const auto match = selection_->currentMatch();
  if (isActive_.value()) {
    window_->announceSelection(match ? selectionDescription(*match->node(), selection_->currentLabel()) : "");
  }
}

}  // namespace jumplark
