#pragma once

#include <cstdint>
#include <string>

#include "backends/linux/atspi/source/View.h"

namespace jumplark::atspi {

/// The visible part of a text, and parts of it by UTF-16 range. What showed is read once a snapshot, however long the
/// text: neither the whole of it nor the part before is needed twice. Positions beyond the first 16,384 characters are
/// exact unless characters outside the Basic Multilingual Plane stand before them; the range that visibleRange() gave
/// always finds its own text.
///
/// Calls may come from any thread.
class AttributeText {
 public:
  explicit AttributeText(const View& view) : view_(view) {}

  /// True for an element whose text may be read at all; a password's never is.
  static bool isReadable(const ElementFacts& element);

  /// "AXVisibleCharacterRange".
  AccessibilityResult<Range> visibleRange(const ElementFacts& element) const;
  /// "AXStringForRange": at most 20,000 units. illegalArgument for a range that is none (the not-found location, a
  /// negative length) or begins past the end.
  AccessibilityResult<std::string> stringForRange(const ElementFacts& element, Range range) const;

 private:
  AccessibilityResult<SeenText> readVisible(const ElementFacts& element) const;
  AccessibilityResult<std::string> read(const ElementFacts& element, Range range) const;

  const View& view_;
};

}  // namespace jumplark::atspi
