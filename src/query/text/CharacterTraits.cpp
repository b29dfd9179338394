#include "query/text/CharacterTraits.h"

#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include "query/text/TextFolding.h"

namespace jumplark {

namespace {

constexpr char32_t kZeroWidthNonJoiner = 0x200C;
constexpr char32_t kZeroWidthJoiner = 0x200D;
constexpr uint32_t kWordCategories = U_GC_M_MASK | U_GC_ND_MASK | U_GC_PC_MASK;

char16_t bareUnit(char16_t unit) {
  if (unit < 0x80 || U_IS_SURROGATE(unit)) {
    return unit;
  }
  const std::u16string folded = foldDiacritics(std::u16string_view(&unit, 1));
  if (folded.empty()) {
    return CharacterTraits::kRemoved;
  }
  // Eight characters fold to two units (U+0CCB, compatibility ideographs of another plane); those stay as they are.
  return folded.size() == 1 ? folded.front() : unit;
}

}  // namespace

const CharacterTraits& CharacterTraits::instance() {
  static const CharacterTraits traits;
  return traits;
}

CharacterTraits::CharacterTraits() {
  auto tables = std::make_unique<Tables>();
  for (size_t c = 0; c < kPlane; ++c) {
    tables->flags[c] = computeFlags(static_cast<char32_t>(c));
    tables->bare[c] = bareUnit(static_cast<char16_t>(c));
  }
  tables_ = std::move(tables);
}

uint8_t CharacterTraits::computeFlags(char32_t c) {
  const auto code = static_cast<UChar32>(c);
  uint8_t flags = 0;
  if (u_hasBinaryProperty(code, UCHAR_ALPHABETIC) || (U_GET_GC_MASK(code) & kWordCategories) != 0 ||
      c == kZeroWidthNonJoiner || c == kZeroWidthJoiner) {
    flags |= kWordCharacter;
  }
  if (u_charType(code) != U_LOWERCASE_LETTER && (c < U'0' || c > U'9')) {
    flags |= kStartsWord;
  }
  if (!U_IS_SURROGATE(code) && icu::UnicodeString(code).foldCase().countChar32() > 1) {
    flags |= kFullFold;
  }
  return flags;
}

char32_t CharacterTraits::caseFolded(char32_t c) {
  return static_cast<char32_t>(u_foldCase(static_cast<UChar32>(c), U_FOLD_CASE_DEFAULT));
}

std::u16string CharacterTraits::fullyFolded(char32_t c) {
  icu::UnicodeString folded(static_cast<UChar32>(c));
  folded.foldCase();
  return {folded.getBuffer(), static_cast<size_t>(folded.length())};
}

void appendCharacter(std::u16string& text, char32_t c) {
  if (c < 0x10000) {
    text += static_cast<char16_t>(c);
  } else {
    text += static_cast<char16_t>(U16_LEAD(c));
    text += static_cast<char16_t>(U16_TRAIL(c));
  }
}

std::u16string caseFolded(std::u16string_view text) {
  std::u16string result;
  result.reserve(text.size());
  forEachCharacter(text, [&](char32_t c, size_t, size_t) { appendCharacter(result, CharacterTraits::caseFolded(c)); });
  return result;
}

BareFolding bareCaseFolding(std::u16string_view text) {
  const CharacterTraits& traits = CharacterTraits::instance();
  BareFolding result;
  result.text.reserve(text.size());
  forEachCharacter(text, [&](char32_t c, size_t offset, size_t units) {
    const size_t before = result.text.size();
    if (units == 1) {
      const char16_t bare = traits.bare(static_cast<char16_t>(c));
      if (bare != CharacterTraits::kRemoved) {
        appendCharacter(result.text, CharacterTraits::caseFolded(bare));
      }
    } else {
      result.text += caseFolded(foldDiacritics(text.substr(offset, units)));
    }
    result.isAligned = result.isAligned && result.text.size() - before == units;
  });
  return result;
}

}  // namespace jumplark
