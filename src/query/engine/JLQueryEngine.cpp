#include "query/engine/JLQueryEngine.h"

#include <stdexcept>

#include "input/ZMOForceKeyboardLayoutController.h"
#include "input/ZMOModifierTapDetector.h"
#include "overlay/JLDiscoveryController.h"
#include "overlay/JLElementHighlighter.h"
#include "platform/Platform.h"
#include "query/engine/JLQueryWindowController.h"
#include "query/engine/MatchingWait.h"
#include "query/matching/JLElementMatcher.h"
#include "selection/JLElementSelectionController.h"

namespace jumplark {
namespace {

std::atomic<JLQueryEngine*> theSharedInstance{nullptr};

}  // namespace

JLQueryEngine& JLQueryEngine::sharedInstance() {
  JLQueryEngine* const engine = theSharedInstance.load();
  if (engine == nullptr) {
    throw std::logic_error("The query engine has not been made");
  }
  return *engine;
}

JLQueryEngine::JLQueryEngine(std::string bundleIdentifier)
    : bundleIdentifier_(std::move(bundleIdentifier)),
      self_(std::make_shared<std::atomic<JLQueryEngine*>>(this)),
      discovery_(std::make_unique<JLDiscoveryController>()),
      selection_(std::make_unique<JLElementSelectionController>()),
      window_(std::make_unique<JLQueryWindowController>(*this)),
      taps_(std::make_unique<ZMOModifierTapDetector>()),
      layouts_(std::make_unique<ZMOForceKeyboardLayoutController>()) {
  selection_->highlighter().setShowingCondition([this] { return isActive_.value(); });
  setupSignals();
  observeSelection();
  warmMatcher();
  JLQueryEngine* none = nullptr;
  theSharedInstance.compare_exchange_strong(none, this);
}

JLQueryEngine::~JLQueryEngine() {
  JLQueryEngine* self = this;
  theSharedInstance.compare_exchange_strong(self, nullptr);
  if (isActive_.value()) {
    end();
  }
  self_->store(nullptr);
  mainThread_.close();
  waits_.clear();
  tokens_.clear();
}

void JLQueryEngine::postToMain(std::function<void(JLQueryEngine&)> task, Duration delay) const {
  Platform::current().queues->mainQueue().postAfter(delay, [self = self_, task = std::move(task)] {
    if (JLQueryEngine* const engine = self->load()) {
      task(*engine);
    }
  });
}

void JLQueryEngine::warmMatcher() {
  warmQueue_ = Platform::current().queues->makeSerialQueue("com.brindlefox.jumplark.warm");
  warmQueue_->post([this] {
    JLElementMatcher::warm();
    postToMain([](JLQueryEngine& engine) { engine.warmQueue_.reset(); });
  });
}

}  // namespace jumplark
