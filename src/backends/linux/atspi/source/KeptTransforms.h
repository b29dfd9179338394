#pragma once

#include <mutex>
#include <string>
#include <unordered_map>

#include "backends/linux/atspi/reading/CoordinateTransform.h"

namespace jumplark::atspi {

/// How the places of each application became points of the screen in its last snapshot, which they outlive: what is
/// clicked is read anew. Elements of applications without a snapshot are where they say. May be used from any thread.
class KeptTransforms {
 public:
  void keep(const std::string& busName, const CoordinateTransform& places);
  /// See CoordinateTransform.
  Rect toScreen(const ElementRef& element, const Rect& told) const;
  Rect fromScreen(const ElementRef& element, const Rect& place) const;
  Point shiftOf(const ElementRef& element) const;

 private:
  const CoordinateTransform* find(const ElementRef& element) const;

  mutable std::mutex mutex_;  ///< leaf
  std::unordered_map<std::string, CoordinateTransform> places_;
};

}  // namespace jumplark::atspi
