#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// The bus counts text in code points, the vocabulary above it in UTF-16 units. All texts are UTF-8; a byte that starts
/// no valid sequence counts as one character.
namespace jumplark::atspi {

int64_t codePointCount(std::string_view text);
/// Characters beyond U+FFFF count as two.
int64_t utf16Length(std::string_view text);
/// The number of code points that lie in the first `units` UTF-16 units; one that is cut in half does not count.
int64_t codePointsInUnits(std::string_view text, int64_t units);
/// The text of at most `units` UTF-16 units, without half a character at its end.
std::string prefixOfUnits(std::string_view text, int64_t units);

/// Nothing but white space.
bool isBlank(std::string_view text);
/// Without the characters that stand for embedded objects (U+FFFC), which nobody sees as text.
std::string withoutObjects(std::string text);

}  // namespace jumplark::atspi
