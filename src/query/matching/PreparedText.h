#pragma once

#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <span>
#include <string>
#include <string_view>

namespace jumplark {

/// The words of a text in the forms that scoring compares. A view.
struct PreparedWords {
  /// Later words score nothing.
  static constexpr size_t kScored = 51;

  struct Bounds {
    uint32_t start;
    uint32_t end;
  };

  std::u16string_view lowered;      ///< the words, each lower-cased by itself, one after the other
  std::u16string_view bareLowered;  ///< `lowered` unit by unit without diacritics; kRemoved for a mark
  std::span<const Bounds> bounds;   ///< where each word lies in `lowered`; at most kScored

  static PreparedWords prepare(std::span<const std::u16string> words, std::pmr::memory_resource& memory);
};

/// One element text in the forms that scoring compares, made once and scored against every query. A view: the forms lie
/// in the memory that it was made with.
struct PreparedText {
  /// Texts from this length on are not scored word by word.
  static constexpr size_t kLong = 100;

  std::u16string_view original;
  std::u16string_view bareFolded;  ///< without diacritics and case, character by character
  uint64_t letters = 0;            ///< FoldedText::lettersOf(bareFolded)
  size_t firstSeparator = 0;  ///< where in `original` the first character that is none of a word stands; or its end
  bool isASCII = false;       ///< then folding its case alone gives `bareFolded` too
  bool isAligned = false;     ///< each character has as many units in `bareFolded` as in `original`
  PreparedWords words;        ///< none for a long text

  /// `original` must outlive the result.
  static PreparedText prepare(std::u16string_view original, std::pmr::memory_resource& memory);
};

}  // namespace jumplark
