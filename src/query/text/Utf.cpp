#include "query/text/Utf.h"

#include <unicode/utf16.h>

#include <cstdint>
#include <cstring>

#include "platform/Utf8.h"

namespace jumplark {

std::u16string toUTF16(std::string_view utf8) {
  std::u16string result;
  if (isASCII(utf8)) {
    result.assign(utf8.begin(), utf8.end());
    return result;
  }
  result.resize(utf8.size());
  size_t out = 0;
  for (size_t in = 0; in < utf8.size();) {
    const Utf8Character character = utf8CharacterAt(utf8, in);
    U16_APPEND_UNSAFE(result.data(), out, character.codePoint);
    in += character.bytes;
  }
  result.resize(out);
  return result;
}

std::string toUTF8(std::u16string_view utf16) {
  std::string result;
  result.reserve(utf16.size());
  for (size_t in = 0; in < utf16.size();) {
    UChar32 c = 0;
    U16_NEXT(utf16.data(), in, utf16.size(), c);
    appendUtf8(result, static_cast<char32_t>(c));
  }
  return result;
}

bool isASCII(std::string_view utf8) {
  constexpr uint64_t kHighBits = 0x8080808080808080ULL;
  const char* p = utf8.data();
  size_t left = utf8.size();
  for (; left >= sizeof(uint64_t); left -= sizeof(uint64_t), p += sizeof(uint64_t)) {
    uint64_t word = 0;
    std::memcpy(&word, p, sizeof(word));
    if ((word & kHighBits) != 0) {
      return false;
    }
  }
  for (; left > 0; --left, ++p) {
    if ((static_cast<unsigned char>(*p) & 0x80U) != 0) {
      return false;
    }
  }
  return true;
}

}  // namespace jumplark
