#include "platform/Utf8.h"

#include <algorithm>
#include <limits>

namespace jumplark {
namespace {

constexpr int64_t kAll = std::numeric_limits<int64_t>::max();

struct Measure {
  int64_t codePoints = 0;
  int64_t units = 0;
  size_t bytes = 0;
};

/// Measures whole characters while they fit in both.
Measure measure(std::string_view text, int64_t mostCodePoints, int64_t mostUnits) {
  Measure total;
  while (total.bytes < text.size() && total.codePoints < mostCodePoints) {
    const Utf8Character character = utf8CharacterAt(text, total.bytes);
    const int64_t units = character.codePoint > 0xFFFF ? 2 : 1;
    if (units > mostUnits - total.units) {
      break;
    }
    total.units += units;
    ++total.codePoints;
    total.bytes += character.bytes;
  }
  return total;
}

bool isWhiteSpace(char32_t c) {
  return c == ' ' || (c >= '\t' && c <= '\r') || c == 0x85 || c == 0xA0 || c == 0x1680 ||
         (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F || c == 0x3000;
}

}  // namespace

void appendUtf8(std::string& text, char32_t codePoint) {
  if (codePoint < 0x80) {
    text += static_cast<char>(codePoint);
    return;
  }
  const bool isNone = (codePoint >= 0xD800 && codePoint < 0xE000) || codePoint > 0x10FFFF;
  const char32_t c = isNone ? kReplacementCharacter : codePoint;
  const auto follow = [&](unsigned shift) { text += static_cast<char>(0x80U | ((c >> shift) & 0x3FU)); };
  if (c < 0x800) {
    text += static_cast<char>(0xC0U | (c >> 6U));
  } else {
    if (c < 0x10000) {
      text += static_cast<char>(0xE0U | (c >> 12U));
    } else {
      text += static_cast<char>(0xF0U | (c >> 18U));
      follow(12);
    }
    follow(6);
  }
  follow(0);
}

std::string wellFormedUtf8(std::string_view text, size_t mostBytes) {
  std::string result;
  result.reserve(std::min(text.size(), mostBytes));
  for (size_t at = 0; at < text.size();) {
    const Utf8Character character = utf8CharacterAt(text, at);
    const size_t before = result.size();
    if (character.isWellFormed) {
      result.append(text, at, character.bytes);
    } else {
      appendUtf8(result, kReplacementCharacter);
    }
    if (result.size() > mostBytes) {
      result.resize(before);
      break;
    }
    at += character.bytes;
  }
  return result;
}

int64_t codePointCount(std::string_view text) {
  return measure(text, kAll, kAll).codePoints;
}

int64_t utf16Length(std::string_view text) {
  return measure(text, kAll, kAll).units;
}

int64_t codePointsInUnits(std::string_view text, int64_t units) {
  return measure(text, kAll, units).codePoints;
}

std::string prefixOfUnits(std::string_view text, int64_t units) {
  return std::string(text.substr(0, measure(text, kAll, units).bytes));
}

std::string codePoints(std::string_view text, int64_t base, int64_t start, int64_t end) {
  text.remove_prefix(measure(text, start - base, kAll).bytes);
  return std::string(text.substr(0, measure(text, end - start, kAll).bytes));
}

bool isBlank(std::string_view text) {
  for (size_t at = 0; at < text.size();) {
    const Utf8Character character = utf8CharacterAt(text, at);
    if (!isWhiteSpace(character.codePoint)) {
      return false;
    }
    at += character.bytes;
  }
  return true;
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kSpace = " \t\r\n";
  const size_t first = text.find_first_not_of(kSpace);
  return first == std::string_view::npos ? std::string_view()
                                         : text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

}  // namespace jumplark
