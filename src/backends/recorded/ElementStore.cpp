#include "backends/recorded/ElementStore.h"

#include <algorithm>
#include <typeinfo>

namespace jumplark {
namespace {

class RecordedHandle final : public ElementHandle {
 public:
  RecordedHandle(std::string id, size_t index) : ElementHandle(std::move(id)), index(index) {}
  const size_t index;
};

template <typename Entries>
auto lowerBound(Entries& entries, RecordedElement::NameNumber name) {
  return std::lower_bound(entries.begin(), entries.end(), name,
                          [](const auto& entry, RecordedElement::NameNumber wanted) { return entry.first < wanted; });
}

template <typename Entries>
auto findEntry(const Entries& entries, RecordedElement::NameNumber name) -> decltype(&entries.front().second) {
  const auto at = lowerBound(entries, name);
  return at != entries.end() && at->first == name ? &at->second : nullptr;
}

template <typename Entries, typename Value>
void setEntry(Entries& entries, RecordedElement::NameNumber name, Value value) {
  const auto at = lowerBound(entries, name);
  if (at != entries.end() && at->first == name) {
    at->second = std::move(value);
  } else {
    entries.emplace(at, name, std::move(value));
  }
}

}  // namespace

const AttributeValue* RecordedElement::attribute(NameNumber name) const {
  return findEntry(attributes, name);
}

const std::vector<RecordedAnswer>* RecordedElement::answers(NameNumber name) const {
  return findEntry(parameterized, name);
}

ElementRef ElementStore::mention(std::string_view id) {
  if (const auto found = indexById_.find(id); found != indexById_.end()) {
    return elements_[found->second].ref;
  }
  const size_t index = elements_.size();
  ElementRef ref(std::make_shared<const RecordedHandle>(std::string(id), index));
  elements_.emplace_back();
  elements_.back().ref = ref;
  indexById_.emplace(std::string(id), index);
  return ref;
}

RecordedElement& ElementStore::define(std::string_view id) {
  RecordedElement& element = *find(mention(id));
  element.present = true;
  return element;
}

std::optional<size_t> ElementStore::indexOf(const ElementRef& ref) const {
  const ElementHandle* handle = ref.get();
  if (!handle) {
    return std::nullopt;
  }
  if (typeid(*handle) == typeid(RecordedHandle)) {
    // The index is good only in the store that made the handle, and in its copies.
    const size_t index = static_cast<const RecordedHandle*>(handle)->index;
    if (index < elements_.size() && elements_[index].ref.get() == handle) {
      return index;
    }
  }
  const auto found = indexById_.find(std::string_view(handle->text()));
  return found == indexById_.end() ? std::nullopt : std::optional(found->second);
}

const RecordedElement* ElementStore::find(const ElementRef& ref) const {
  const auto index = indexOf(ref);
  return index ? &elements_[*index] : nullptr;
}

RecordedElement* ElementStore::find(const ElementRef& ref) {
  const auto index = indexOf(ref);
  return index ? &elements_[*index] : nullptr;
}

const RecordedElement* ElementStore::find(std::string_view id) const {
  const auto found = indexById_.find(id);
  return found == indexById_.end() ? nullptr : &elements_[found->second];
}

ElementStore::NameNumber ElementStore::intern(std::string_view name) {
  if (const auto found = numberByName_.find(name); found != numberByName_.end()) {
    return found->second;
  }
  const auto number = static_cast<NameNumber>(names_.size());
  names_.emplace_back(name);
  numberByName_.emplace(std::string(name), number);
  return number;
}

std::optional<ElementStore::NameNumber> ElementStore::numberOf(std::string_view name) const {
  const auto found = numberByName_.find(name);
  return found == numberByName_.end() ? std::nullopt : std::optional(found->second);
}

const AttributeValue* ElementStore::attribute(const RecordedElement& element, std::string_view name) const {
  const auto number = numberOf(name);
  return number ? element.attribute(*number) : nullptr;
}

void ElementStore::setAttribute(RecordedElement& element, std::string_view name, AttributeValue value) {
  setEntry(element.attributes, intern(name), std::move(value));
}

void ElementStore::setAnswers(RecordedElement& element, std::string_view name, std::vector<RecordedAnswer> answers) {
  setEntry(element.parameterized, intern(name), std::move(answers));
}

void ElementStore::removeAttribute(RecordedElement& element, std::string_view name) {
  if (const auto number = numberOf(name)) {
    std::erase_if(element.attributes, [&](const auto& entry) { return entry.first == *number; });
  }
}

}  // namespace jumplark
