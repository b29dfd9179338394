#include "backends/recorded/RecordedInputSources.h"

#include <algorithm>
#include <utility>

namespace jumplark {

RecordedInputSources::RecordedInputSources() : layouts_{{"us", "English (US)"}}, current_(layouts_.front()) {}

std::vector<InputSource> RecordedInputSources::selectableKeyboardLayouts() {
  const std::scoped_lock lock(mutex_);
  return layouts_;
}

std::optional<InputSource> RecordedInputSources::currentKeyboardLayout() {
  const std::scoped_lock lock(mutex_);
  return current_;
}

bool RecordedInputSources::select(const std::string& identifier) {
  const std::scoped_lock lock(mutex_);
  selections_.push_back(identifier);
  const auto found = std::find_if(layouts_.begin(), layouts_.end(),
                                  [&](const InputSource& layout) { return layout.identifier == identifier; });
  if (!permitted_ || found == layouts_.end()) {
    return false;
  }
  current_ = *found;
  return true;
}

void RecordedInputSources::setLayouts(std::vector<InputSource> layouts) {
  const std::scoped_lock lock(mutex_);
  layouts_ = std::move(layouts);
  if (!layouts_.empty() && (!current_ || std::find(layouts_.begin(), layouts_.end(), *current_) == layouts_.end())) {
    current_ = layouts_.front();
  }
}

void RecordedInputSources::setCurrent(std::optional<InputSource> layout) {
  const std::scoped_lock lock(mutex_);
  current_ = std::move(layout);
}

void RecordedInputSources::permitSelection(bool permitted) {
  const std::scoped_lock lock(mutex_);
  permitted_ = permitted;
}

std::vector<std::string> RecordedInputSources::selections() const {
  const std::scoped_lock lock(mutex_);
  return selections_;
}

}  // namespace jumplark
