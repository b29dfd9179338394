#pragma once

#include <gtest/gtest.h>

#include <string>

#include "backends/atspi/support/FakeSource.h"
#include "backends/atspi/support/FakeWindows.h"
#include "backends/linux/atspi/vocabulary/AtspiAccessibility.h"

namespace jumplark::atspi {

/// An application "app" (process 10) with a frame "win" at 0,0 400 by 300, and what a test adds to it.
class AtspiVocabulary : public ::testing::Test {
 protected:
  AtspiVocabulary() {
    source.add("app", role::application, "");
    source.add("win", role::frame, "app", Rect{0, 0, 400, 300});
    source.processes[10] = source.ref("app");
    source.framesOnScreen = {{source.ref("win"), 1}};
    windows.add(1, 10, {0, 0, 400, 300});
  }

  AccessibilityResult<AttributeValue> get(const std::string& id, const std::string& name) {
    return platform.copyAttributeValue(source.ref(id), name);
  }
  /// The attribute as text; an error as its number.
  std::string text(const std::string& id, const std::string& name) {
    const auto answer = get(id, name);
    return answer.ok() ? answer.value.description() : std::to_string(static_cast<int>(answer.error));
  }
  /// The ids of a list attribute, joined by spaces, read as the core reads lists.
  std::string list(const std::string& id, const std::string& name) {
    const auto count = platform.attributeValueCount(source.ref(id), name);
    if (!count.ok()) {
      return std::to_string(static_cast<int>(count.error));
    }
    const auto entries = platform.copyAttributeValues(source.ref(id), name, 0, count.value);
    return ids(entries.value);
  }
  static std::string ids(const AttributeValue::List& entries) {
    std::string joined;
    for (const auto& one : entries) {
      joined += (joined.empty() ? "" : " ") + handleOf(*one.element())->path().substr(1);
    }
    return joined;
  }
  std::string hit(double x, double y, const ElementRef& within = {}) { return hitBy(platform, x, y, within); }
  static std::string hitBy(AccessibilityPlatform& by, double x, double y, const ElementRef& within = {}) {
    const auto found = by.copyElementAtPosition(within ? within : by.systemWideElement(), static_cast<float>(x),
                                                static_cast<float>(y));
    return found.ok() ? handleOf(found.value)->path().substr(1) : std::to_string(static_cast<int>(found.error));
  }

  FakeSource source;
  FakeWindows windows;
  AtspiAccessibility platform{source, windows};
};

inline const std::string kNoValue = "-25212";
inline const std::string kUnsupported = "-25205";

}  // namespace jumplark::atspi
