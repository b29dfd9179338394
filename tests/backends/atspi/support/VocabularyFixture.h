#pragma once

#include "backends/atspi/support/SourceFixture.h"
#include "backends/linux/atspi/vocabulary/AtspiAccessibility.h"

namespace jumplark::atspi {

inline const std::string kNoValue = "-25212";
inline const std::string kUnsupported = "-25205";
inline const std::string kLate = "-25204";

/// An application of no toolkit in particular, with the frame "frame" at 0,0 400 by 300 and what a test adds to it, as
/// the core asks for it.
class AtspiVocabulary : public SourceFixture {
 protected:
  AtspiVocabulary() : SourceFixture("other", "1") {
    app.at("frame").rect = {0, 0, 400, 300};
    windows.windows[0].surface = windows.windows[0].frame = {0, 0, 400, 300};
  }

  AccessibilityResult<AttributeValue> get(const std::string& id, const std::string& name) {
    return platform.copyAttributeValue(app.ref(id), name);
  }
  /// The attribute as text; an error as its number.
  std::string text(const std::string& id, const std::string& name) {
    const auto answer = get(id, name);
    if (!answer.ok()) {
      return std::to_string(static_cast<int>(answer.error));
    }
    return answer.value.element() ? idOf(*answer.value.element()) : answer.value.description();
  }
  /// The ids of a list attribute, joined by spaces, read as the core reads lists.
  std::string list(const std::string& id, const std::string& name) {
    const auto count = platform.attributeValueCount(app.ref(id), name);
    return count.ok() ? ids(platform.copyAttributeValues(app.ref(id), name, 0, count.value).value)
                      : std::to_string(static_cast<int>(count.error));
  }
  static std::string ids(const AttributeValue::List& entries) {
    std::string joined;
    for (const auto& one : entries) {
      joined += (joined.empty() ? "" : " ") + idOf(*one.element());
    }
    return joined;
  }
  void snapshot(bool visibleOnly = true) { platform.prepareSnapshot(app.root(), visibleOnly); }

  AtspiAccessibility platform{source(), windows};
};

}  // namespace jumplark::atspi
