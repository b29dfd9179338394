#include "query/matching/FoldedText.h"

#include "query/text/CharacterTraits.h"

namespace jumplark {

uint64_t FoldedText::lettersOf(std::u16string_view units) {
  constexpr unsigned kLetters = 26;
  uint64_t letters = 0;
  for (const char16_t unit : units) {
    const bool isLetter = unit >= u'a' && unit <= u'z';
    letters |= uint64_t{1} << (isLetter ? unit - u'a' : kLetters + unit % (64 - kLetters));
  }
  return letters;
}

FoldedText foldText(std::u16string_view text, std::u16string& storage) {
  const CharacterTraits& traits = CharacterTraits::instance();
  FoldedText folded;
  storage.clear();
  storage.reserve(text.size());
  forEachCharacter(text, [&](char32_t c, size_t, size_t) {
    if (c < 0x80) {
      storage += static_cast<char16_t>(c >= U'A' && c <= U'Z' ? c + (U'a' - U'A') : c);
    } else {
      folded.hasFullFold |= traits.hasFullFold(c);
      appendCharacter(storage, CharacterTraits::caseFolded(c));
    }
    folded.hasLineEnds |= CharacterTraits::isLineEnd(c);
  });
  folded.units = storage;
  folded.letters = FoldedText::lettersOf(storage);
  return folded;
}

}  // namespace jumplark
