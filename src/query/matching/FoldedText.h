#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace jumplark {

/// A text as patterns look at it: the case of every character folded, and what can be told of it at a glance. A view;
/// the units belong to somebody else.
struct FoldedText {
  std::u16string_view units;
  uint64_t letters = 0;      ///< lettersOf(units)
  bool hasLineEnds = false;  ///< holds a character that ends a line
  bool hasFullFold = false;  ///< held, before folding, a character that also matches several others

  /// One bit each of a to z, and one of 38 bits for every other unit. A text whose bits lack one of another's cannot
  /// contain that other's units.
  static uint64_t lettersOf(std::u16string_view units);
};

/// Folds `text` into `storage`, which the result looks at.
FoldedText foldText(std::u16string_view text, std::u16string& storage);

}  // namespace jumplark
