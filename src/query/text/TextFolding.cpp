#include "query/text/TextFolding.h"

#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "platform/Utf8.h"
#include "query/text/Utf.h"

namespace jumplark {

namespace {

bool isASCIIUnits(std::u16string_view text) {
  return std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 0x80; });
}

icu::UnicodeString alias(std::u16string_view text) {
  return icu::UnicodeString(false, text.data(), static_cast<int32_t>(text.size()));
}

/// True when all eight bytes lie between `low` and 0x7F.
bool allAtLeast(uint64_t word, unsigned char low) {
  constexpr uint64_t kOnes = 0x0101010101010101ULL;
  constexpr uint64_t kHighBits = 0x8080808080808080ULL;
  const uint64_t borrows = (word - kOnes * low) & ~word & kHighBits;
  return ((word & kHighBits) | borrows) == 0;
}

/// The length of the start of the text that holds only U+0020 to U+007F, rounded down to whole steps of eight while
/// there are eight bytes left.
size_t printablePrefix(std::string_view text) {
  size_t i = 0;
  for (; i + sizeof(uint64_t) <= text.size(); i += sizeof(uint64_t)) {
    uint64_t word = 0;
    std::memcpy(&word, text.data() + i, sizeof(word));
    if (!allAtLeast(word, 0x20)) {
      return i;
    }
  }
  while (i < text.size() && static_cast<unsigned char>(text[i]) >= 0x20 && static_cast<unsigned char>(text[i]) < 0x80) {
    ++i;
  }
  return i;
}

bool allowedInXML(char32_t c) {
  return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD) || c >= 0x10000;
}

}  // namespace

std::u16string foldDiacritics(std::u16string_view text) {
  if (isASCIIUnits(text)) {
    return std::u16string(text);
  }
  UErrorCode status = U_ZERO_ERROR;
  const icu::Normalizer2* nfd = icu::Normalizer2::getNFDInstance(status);
  const icu::Normalizer2* nfc = icu::Normalizer2::getNFCInstance(status);
  if (U_FAILURE(status)) {
    return std::u16string(text);
  }
  const icu::UnicodeString decomposed = nfd->normalize(alias(text), status);
  icu::UnicodeString bare;
  for (int32_t i = 0; i < decomposed.length();) {
    const UChar32 c = decomposed.char32At(i);
    if (c < 0x80 || u_charType(c) != U_NON_SPACING_MARK) {
      bare.append(c);
    }
    i += U16_LENGTH(c);
  }
  const icu::UnicodeString composed = nfc->normalize(bare, status);
  if (U_FAILURE(status)) {
    return std::u16string(text);
  }
  return {composed.getBuffer(), static_cast<size_t>(composed.length())};
}

std::string foldDiacritics(const std::string& text) {
  return isASCII(text) ? text : toUTF8(foldDiacritics(toUTF16(text)));
}

bool textContainsDiacritics(std::u16string_view text) {
  return !isASCIIUnits(text) && foldDiacritics(text) != text;
}

std::u16string lowercased(std::u16string_view text) {
  if (isASCIIUnits(text)) {
    std::u16string result(text);
    for (char16_t& c : result) {
      c = (c >= u'A' && c <= u'Z') ? static_cast<char16_t>(c + (u'a' - u'A')) : c;
    }
    return result;
  }
  icu::UnicodeString lowered = alias(text);
  lowered.toLower(icu::Locale::getRoot());
  return {lowered.getBuffer(), static_cast<size_t>(lowered.length())};
}

std::string sanitizedForXML(std::string text) {
  size_t in = printablePrefix(text);
  if (in == text.size()) {
    return text;
  }
  std::string clean = text.substr(0, in);
  clean.reserve(text.size());
  while (in < text.size()) {
    const Utf8Character character = utf8CharacterAt(text, in);
    appendUtf8(clean, allowedInXML(character.codePoint) ? character.codePoint : kReplacementCharacter);
    in += character.bytes;
  }
  return clean;
}

bool isPlainASCIIText(const std::string& text) {
  return printablePrefix(text) == text.size() && std::none_of(text.begin(), text.end(), [](char c) { return c > 125; });
}

}  // namespace jumplark
