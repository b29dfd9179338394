#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace jumplark {

/// What matching and scoring ask of single characters, in tables for the basic plane. The one instance is made at first
/// use (some milliseconds) and never changes, so that any thread may use it.
class CharacterTraits {
 public:
  /// What bare() gives for a nonspacing mark, which folding removes. No text holds this unit.
  static constexpr char16_t kRemoved = 0xFFFF;

  static const CharacterTraits& instance();

  /// One UTF-16 unit without diacritics, by itself; kRemoved for a nonspacing mark.
  char16_t bare(char16_t unit) const { return tables_->bare[unit]; }

  /// What `\w` of a regular expression matches: letters, marks, decimal digits, connectors and the two joiners.
  bool isWordCharacter(char32_t c) const { return has(c, kWordCharacter); }
  /// Neither a lowercase letter nor one of 0 to 9: a word of a label starts in front of it.
  bool startsWord(char32_t c) const { return has(c, kStartsWord); }
  /// Folds to several characters (the sharp s to two s), so that one character can match a pattern's two.
  bool hasFullFold(char32_t c) const { return has(c, kFullFold); }
  /// Ends a line for `.` of a regular expression: U+000A to U+000D, U+0085, U+2028, U+2029.
  static constexpr bool isLineEnd(char32_t c) {
    return (c >= 0xA && c <= 0xD) || c == 0x85 || c == 0x2028 || c == 0x2029;
  }
  /// The character as it is compared when case is ignored (simple case folding).
  static char32_t caseFolded(char32_t c);
  /// All the characters that it folds to.
  static std::u16string fullyFolded(char32_t c);

 private:
  static constexpr uint8_t kWordCharacter = 1;
  static constexpr uint8_t kStartsWord = 2;
  static constexpr uint8_t kFullFold = 4;
  static constexpr size_t kPlane = 0x10000;

  struct Tables {
    std::array<uint8_t, kPlane> flags{};
    std::array<char16_t, kPlane> bare{};
  };

  CharacterTraits();
  bool has(char32_t c, uint8_t flag) const { return ((c < kPlane ? tables_->flags[c] : computeFlags(c)) & flag) != 0; }
  static uint8_t computeFlags(char32_t c);

  std::unique_ptr<const Tables> tables_;
};

struct Character {
  char32_t codePoint;
  size_t units;
};

/// The code point that begins at an offset; a lone surrogate counts as one.
inline Character characterAt(std::u16string_view text, size_t offset) {
  const char32_t c = text[offset];
  if (c >= 0xD800 && c < 0xDC00 && offset + 1 < text.size() && text[offset + 1] >= 0xDC00 &&
      text[offset + 1] < 0xE000) {
    return {((c - 0xD800) << 10U) + (text[offset + 1] - 0xDC00U) + 0x10000, 2};
  }
  return {c, 1};
}

/// Calls visit(character, offset, units) for each code point of a text.
template <typename Visit>
void forEachCharacter(std::u16string_view text, Visit visit) {
  for (size_t i = 0; i < text.size();) {
    const Character character = characterAt(text, i);
    visit(character.codePoint, i, character.units);
    i += character.units;
  }
}

/// Appends a code point as one or two units.
void appendCharacter(std::u16string& text, char32_t c);

/// The text with the case of each character folded by itself; characters stay as many as they were.
std::u16string caseFolded(std::u16string_view text);

/// A text with each character's diacritics and then its case folded by itself, nonspacing marks dropped.
struct BareFolding {
  std::u16string text;
  bool isAligned = true;  ///< every character has as many units as before
};
BareFolding bareCaseFolding(std::u16string_view text);

}  // namespace jumplark
