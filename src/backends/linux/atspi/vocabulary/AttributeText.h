#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_map>

#include "backends/linux/atspi/source/ElementSource.h"

namespace jumplark::atspi {

class Neighbours;

/// The visible part of a text, and parts of it by UTF-16 range. What showed is read once a snapshot, however long the
/// text: neither the whole of it nor the part before is needed twice. Positions beyond the first 16,384 characters are
/// exact unless characters outside the Basic Multilingual Plane stand before them; the range that visibleRange() gave
/// always finds its own text.
///
/// Calls may come from any thread.
class AttributeText {
 public:
  AttributeText(ElementSource& source, const Neighbours& neighbours) : source_(source), neighbours_(neighbours) {}

  void snapshotsChanged();

  /// True for an element whose text may be read at all; a password's never is.
  static bool isReadable(const ElementFacts& element);

  /// "AXVisibleCharacterRange".
  AccessibilityResult<Range> visibleRange(const ElementFacts& element);
  /// "AXStringForRange": at most 20,000 units. illegalArgument for a range that is none (the not-found location, a
  /// negative length) or begins past the end.
  AccessibilityResult<std::string> stringForRange(const ElementFacts& element, Range range);

 private:
  struct Seen {
    Range range;
    std::string text;
  };
  AccessibilityResult<Seen> readVisible(const ElementFacts& element);
  AccessibilityResult<std::string> read(const ElementFacts& element, Range range);

  ElementSource& source_;
  const Neighbours& neighbours_;
  std::mutex mutex_;
  uint64_t generation_ = 0;
  std::unordered_map<ElementRef, Seen, ElementRefHash> seen_;
};

}  // namespace jumplark::atspi
