#include "backends/linux/atspi/source/KeptTransforms.h"

namespace jumplark::atspi {
namespace {

/// Applications that ended long ago are forgotten with all others.
constexpr size_t kMostRemembered = 100;

}  // namespace

void KeptTransforms::keep(const std::string& busName, const CoordinateTransform& places) {
  const std::lock_guard lock(mutex_);
  if (places_.size() >= kMostRemembered && !places_.contains(busName)) {
    places_.clear();
  }
  places_[busName] = places;
}

const CoordinateTransform* KeptTransforms::find(const ElementRef& element) const {
  const AtspiHandle* handle = handleOf(element);
  const auto found = handle ? places_.find(handle->busName()) : places_.end();
  return found == places_.end() ? nullptr : &found->second;
}

Rect KeptTransforms::toScreen(const ElementRef& element, const Rect& told) const {
  const std::lock_guard lock(mutex_);
  const CoordinateTransform* places = find(element);
  return places ? places->toScreen(element, told) : told;
}

Rect KeptTransforms::fromScreen(const ElementRef& element, const Rect& place) const {
  const std::lock_guard lock(mutex_);
  const CoordinateTransform* places = find(element);
  return places ? places->fromScreen(element, place) : place;
}

Point KeptTransforms::shiftOf(const ElementRef& element) const {
  const std::lock_guard lock(mutex_);
  const CoordinateTransform* places = find(element);
  return places ? places->shiftOf(element) : Point{};
}

}  // namespace jumplark::atspi
