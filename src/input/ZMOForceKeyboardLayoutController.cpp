#include "input/ZMOForceKeyboardLayoutController.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <iterator>

#include "platform/Defaults.h"
#include "platform/Platform.h"

namespace jumplark {
namespace {

std::optional<std::string> textOf(const DefaultsValue& value) {
  return value.is_string() ? std::optional(value.get<std::string>()) : std::nullopt;
}

}  // namespace

ZMOForceKeyboardLayoutController::ZMOForceKeyboardLayoutController() {
  updateAvailableKeyboardLayouts();
  Defaults& defaults = *Platform::current().defaults;
  observation_ = defaults.observe(keyPath, [this](const DefaultsValue& value) {
    forceKeyboardLayout_.set(keyboardLayoutForInputSourceID(textOf(value)));
  });
  forceKeyboardLayout_.set(keyboardLayoutForInputSourceID(textOf(defaults.value(keyPath))));
}

ZMOForceKeyboardLayoutController::~ZMOForceKeyboardLayoutController() = default;

void ZMOForceKeyboardLayoutController::setForceKeyboardLayout(const std::optional<ZMOKeyboardLayout>& layout) {
  Defaults& defaults = *Platform::current().defaults;
  defaults.setValue(keyPath, layout ? DefaultsValue(layout->inputSourceID()) : DefaultsValue());
  defaults.synchronize();
}

void ZMOForceKeyboardLayoutController::updateAvailableKeyboardLayouts() {
  availableKeyboardLayouts_.clear();
  for (InputSource& source : Platform::current().inputSources->selectableKeyboardLayouts()) {
    availableKeyboardLayouts_.emplace_back(std::move(source));
  }
}

std::optional<ZMOKeyboardLayout> ZMOForceKeyboardLayoutController::keyboardLayoutForInputSourceID(
    const std::optional<std::string>& identifier) const {
  if (!identifier) {
    return std::nullopt;
  }
  const std::vector<InputSource> all = Platform::current().inputSources->selectableKeyboardLayouts();
  const auto isWanted = [&](const InputSource& source) { return source.identifier == *identifier; };
  const auto first = std::find_if(all.begin(), all.end(), isWanted);
  if (first == all.end()) {
    return std::nullopt;
  }
  if (std::any_of(std::next(first), all.end(), isWanted)) {
    spdlog::warn("ForceKeyboardLayout: Managed to find multiple layouts with InputModeID {}, using first found",
                 *identifier);
  }
  return ZMOKeyboardLayout(*first);
}

bool ZMOForceKeyboardLayoutController::activate() {
  const std::optional<ZMOKeyboardLayout> forced = forceKeyboardLayout_.value();
  if (!forced) {
    return true;
  }
  if (savedKeyboardLayout_) {
    return false;
  }
  InputSources& sources = *Platform::current().inputSources;
  savedKeyboardLayout_ = sources.currentKeyboardLayout();
  // A layout that cannot be named could not be brought back.
  return savedKeyboardLayout_ && sources.select(forced->inputSourceID());
}

bool ZMOForceKeyboardLayoutController::deactivate() {
  if (!forceKeyboardLayout_.value()) {
    return true;
  }
  if (!savedKeyboardLayout_ || !Platform::current().inputSources->select(savedKeyboardLayout_->identifier)) {
    return false;
  }
  savedKeyboardLayout_.reset();
  return true;
}

}  // namespace jumplark
