#include <algorithm>
#include <limits>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/element/FactsWorthReading.h"
#include "backends/linux/atspi/reading/TextReading.h"
#include "backends/linux/atspi/source/AtspiElementSource.h"

namespace jumplark::atspi {

AccessibilityError AtspiElementSource::textAllowed(const ElementRef& element, FactsPointer& found) {
  auto read = facts(element, facts::identity | facts::extents);
  if (!read.ok()) {
    return read.error;
  }
  found = read.value;
  const bool readable = !mayHoldSecret(*found) && (found->interfaces & interface_bit::text) != 0;
  return readable ? AccessibilityError::success : AccessibilityError::attributeUnsupported;
}

AccessibilityResult<std::string> AtspiElementSource::textInRange(const ElementRef& element, int64_t start,
                                                                 int64_t end) {
  constexpr int64_t kMost = std::numeric_limits<int32_t>::max();
  if (start < 0 || end < start || end > kMost) {
    return AccessibilityError::illegalArgument;
  }
  if (!isLive()) {
    if (const auto text = store_.text(element); text && text->holds(start, std::min(end, text->count))) {
      return codePoints(text->fetched, text->fetchedStart, start, end);
    }
  }
  FactsPointer found;
  if (const AccessibilityError error = textAllowed(element, found); error != AccessibilityError::success) {
    return error;
  }
  const auto last = static_cast<int32_t>(std::min(end, start + kLongestPart));
  return callOnce(calls_, calls::text(*handleOf(element), static_cast<int32_t>(start), last), deadline());
}

AccessibilityResult<std::pair<int64_t, int64_t>> AtspiElementSource::visibleTextRange(const ElementRef& element) {
  if (!isLive()) {
    if (const auto text = store_.text(element)) {
      return std::pair(text->visibleStart, text->visibleEnd);
    }
  }
  FactsPointer found;
  if (const AccessibilityError error = textAllowed(element, found); error != AccessibilityError::success) {
    return error;
  }
  const AtspiHandle& handle = *handleOf(element);
  const Toolkit& toolkit = *registry_.toolkitOf(makeRef(handle.busName(), calls::kRootPath)).toolkit;
  std::optional<Rect> visible = found->extents;
  if (visible) {
    visible = places_.fromScreen(element, *visible);
  }
  const Point offset = toolkit.tellsCharacterAtPoint() ? offsetNow(handle, toolkit) : Point{};
  std::vector<TextRequest> requests{textRequestOf(*found, toolkit, visible, offset)};
  readTexts(calls_, requests, deadline());
  const TextFacts& text = requests[0].answer;
  if (text.count < 0) {
    return AccessibilityError::cannotComplete;
  }
  return std::pair(text.visibleStart, text.visibleEnd);
}

}  // namespace jumplark::atspi
