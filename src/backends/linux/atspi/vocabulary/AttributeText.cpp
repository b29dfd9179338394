#include "backends/linux/atspi/vocabulary/AttributeText.h"

#include <algorithm>
#include <utility>

#include "backends/linux/atspi/element/FactsWorthReading.h"
#include "platform/Utf8.h"

namespace jumplark::atspi {

namespace {

/// Characters before a position that are read in order to count their units.
constexpr int64_t kMostPrefix = 16384;
/// The longest text that is handed out, in UTF-16 units.
constexpr int64_t kMostUnits = 20000;
/// A text of so few characters shows as a whole, near enough, and costs no question about its viewport.
constexpr int64_t kShownWhole = 100;

}  // namespace

bool AttributeText::isReadable(const ElementFacts& element) {
  return !mayHoldSecret(element) && (element.interfaces & interface_bit::text) != 0;
}

AccessibilityResult<SeenText> AttributeText::readVisible(const ElementFacts& element) const {
  const auto self = view_.get(element.ref, facts::text);
  if (!self) {
    return AccessibilityError::invalidElement;
  }
  const SeenText whole{{0, utf16Length(self->shortText)}, self->shortText};
  if (self->characterCount <= kShownWhole && codePointCount(self->shortText) >= self->characterCount) {
    return whole;
  }
  const auto corners = view_.visibleTextRange(element.ref);
  if (!corners.ok()) {
    // Without a place in the text the part that showed is still worth having, except where nothing answers.
    return corners.error == AccessibilityError::cannotComplete || self->shortText.empty()
               ? AccessibilityResult<SeenText>(corners.error)
               : whole;
  }
  const int64_t start = std::max<int64_t>(0, corners.value.first);
  const int64_t end = std::clamp(corners.value.second, start, start + kMostUnits);
  auto text = view_.textInRange(element.ref, start, end);
  if (!text.ok()) {
    return text.error;
  }
  SeenText seen{{start, 0}, prefixOfUnits(text.value, kMostUnits)};
  seen.range.length = utf16Length(seen.text);
  if (start > 0) {
    const auto before = view_.textInRange(element.ref, 0, std::min(start, kMostPrefix));
    if (!before.ok()) {
      return before.error;
    }
    seen.range.location = utf16Length(before.value) + std::max<int64_t>(0, start - kMostPrefix);
  }
  return seen;
}

AccessibilityResult<Range> AttributeText::visibleRange(const ElementFacts& element) const {
  const auto seen = view_.once(element.ref, &Findings::seen, [&] { return readVisible(element); });
  return seen.ok() ? AccessibilityResult<Range>(seen.value.range) : seen.error;
}

AccessibilityResult<std::string> AttributeText::stringForRange(const ElementFacts& element, Range range) const {
  if (range.location < 0 || range.length < 0 || range.location == Range::kNotFound) {
    return AccessibilityError::illegalArgument;
  }
  const auto seen = view_.known(element.ref, &Findings::seen);
  return seen && seen->ok() && seen->value.range == range ? seen->value.text : read(element, range);
}

AccessibilityResult<std::string> AttributeText::read(const ElementFacts& element, Range range) const {
  int64_t start = 0;
  if (range.location > 0) {
    const auto before = view_.textInRange(element.ref, 0, std::min(range.location, kMostPrefix));
    if (!before.ok()) {
      return before.error;
    }
    const int64_t unitsBefore = utf16Length(before.value);
    start = codePointsInUnits(before.value, range.location);
    if (range.location > unitsBefore) {
      if (codePointCount(before.value) < kMostPrefix) {
        return AccessibilityError::illegalArgument;
      }
      start += range.location - unitsBefore;
    }
  }
  const int64_t units = std::min(range.length, kMostUnits);
  auto text = view_.textInRange(element.ref, start, start + units);
  return text.ok() ? AccessibilityResult<std::string>(prefixOfUnits(text.value, units)) : text;
}

}  // namespace jumplark::atspi
