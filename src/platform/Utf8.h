#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// UTF-8 as it comes from anywhere. What is broken counts as one character for each sequence of bytes that begins like
/// one and does not end so, and for each other byte that stands in none; a lone surrogate that was encoded like a
/// character counts as one.
namespace jumplark {

inline constexpr char32_t kReplacementCharacter = 0xFFFD;

struct Utf8Character {
  char32_t codePoint = kReplacementCharacter;
  size_t bytes = 1;
  bool isWellFormed = false;  ///< as the Unicode Standard has it (table 3-7)
};

/// The character that begins at an offset within the text.
inline Utf8Character utf8CharacterAt(std::string_view text, size_t offset = 0) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[offset + i]); };
  const unsigned lead = byte(0);
  if (lead < 0x80) {
    return {lead, 1, true};
  }
  if (lead < 0xC2 || lead > 0xF4) {
    return {};
  }
  const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  const unsigned low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const unsigned high = lead == 0xF4 ? 0x8F : 0xBF;
  char32_t codePoint = lead & (0x7FU >> length);
  for (size_t i = 1; i < length; ++i) {
    const bool isThere = offset + i < text.size();
    if (!isThere || byte(i) < (i == 1 ? low : 0x80) || byte(i) > (i == 1 ? high : 0xBF)) {
      return {kReplacementCharacter, i, false};
    }
    codePoint = (codePoint << 6U) | (byte(i) & 0x3FU);
  }
  const bool isSurrogate = codePoint >= 0xD800 && codePoint < 0xE000;
  return isSurrogate ? Utf8Character{kReplacementCharacter, length, false} : Utf8Character{codePoint, length, true};
}

/// Appends a code point; a surrogate and what is none become U+FFFD.
void appendUtf8(std::string& text, char32_t codePoint);

/// The text with U+FFFD for everything broken, at most `mostBytes` long and cut between characters.
std::string wellFormedUtf8(std::string_view text, size_t mostBytes = SIZE_MAX);

/// \name Counting in code points and in UTF-16 units, of which characters beyond U+FFFF are two
/// @{

int64_t codePointCount(std::string_view text);
int64_t utf16Length(std::string_view text);
/// The number of code points that lie in the first `units` UTF-16 units; one that is cut in half does not count.
int64_t codePointsInUnits(std::string_view text, int64_t units);
/// The text of at most `units` UTF-16 units, without half a character at its end.
std::string prefixOfUnits(std::string_view text, int64_t units);
/// The code points `start` to `end - 1` of a text whose first one has the offset `base`.
std::string codePoints(std::string_view text, int64_t base, int64_t start, int64_t end);

/// @}

/// Nothing but white space, as Unicode has it: spaces that break no line and those of other scripts are blank too.
bool isBlank(std::string_view text);

/// Without the ASCII spaces, tabs and line ends around it, as lines of files and protocols are read.
std::string_view trimmed(std::string_view text);

}  // namespace jumplark
