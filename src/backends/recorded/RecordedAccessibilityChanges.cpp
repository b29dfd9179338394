#include <stdexcept>

#include "backends/recorded/RecordedAccessibility.h"

/// What tests do with a recorded desktop in use: change it, and look at what was asked of it.
namespace jumplark {

ElementRef RecordedAccessibility::element(const std::string& id) const {
  const std::scoped_lock lock(mutex_);
  const RecordedElement* found = store_.find(std::string_view(id));
  if (!found) {
    throw std::logic_error("No element of the recording has the id " + id);
  }
  return found->ref;
}

void RecordedAccessibility::change(const std::string& id, const std::function<void(RecordedElement&)>& edit) {
  const std::scoped_lock lock(mutex_);
  edit(store_.define(id));
  hitTester_.reset();
}

void RecordedAccessibility::setAttribute(const std::string& id, const std::string& name, AttributeValue value) {
  change(id, [&](RecordedElement& element) { store_.setAttribute(element, name, std::move(value)); });
}

void RecordedAccessibility::removeAttribute(const std::string& id, const std::string& name) {
  change(id, [&](RecordedElement& element) { store_.removeAttribute(element, name); });
}

void RecordedAccessibility::setParameterized(const std::string& id, const std::string& name,
                                             std::vector<RecordedAnswer> answers) {
  change(id, [&](RecordedElement& element) { store_.setAnswers(element, name, std::move(answers)); });
}

void RecordedAccessibility::setActions(const std::string& id, std::vector<std::string> actions) {
  change(id, [&](RecordedElement& element) { element.actions = std::move(actions); });
}

void RecordedAccessibility::setError(const std::string& id, AccessibilityError error) {
  change(id, [&](RecordedElement& element) { element.error = error; });
}

void RecordedAccessibility::setDelay(const std::string& id, double milliseconds) {
  change(id, [&](RecordedElement& element) { element.delayMilliseconds = milliseconds; });
}

void RecordedAccessibility::removeElement(const std::string& id) {
  change(id, [](RecordedElement& element) { element.present = false; });
}

void RecordedAccessibility::setOperationHandler(std::function<void(const RecordedOperation&)> handler) {
  const std::scoped_lock lock(mutex_);
  operationHandler_ = std::move(handler);
}

void RecordedAccessibility::note(const RecordedOperation& operation) {
  std::function<void(const RecordedOperation&)> handler;
  {
    const std::scoped_lock lock(mutex_);
    operations_.push_back(operation);
    handler = operationHandler_;
  }
  if (handler) {
    handler(operation);
  }
}

std::vector<RecordedOperation> RecordedAccessibility::operations() const {
  const std::scoped_lock lock(mutex_);
  return operations_;
}

std::vector<std::pair<ElementRef, bool>> RecordedAccessibility::preparedSnapshots() const {
  const std::scoped_lock lock(mutex_);
  return preparedSnapshots_;
}

}  // namespace jumplark
