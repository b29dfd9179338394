#include "query/text/Utf.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <cstdint>
#include <cstring>

namespace jumplark {

namespace {

constexpr UChar32 kReplacement = 0xFFFD;

}  // namespace

std::u16string toUTF16(std::string_view utf8) {
  std::u16string result;
  if (isASCII(utf8)) {
    result.assign(utf8.begin(), utf8.end());
    return result;
  }
  result.resize(utf8.size());
  const auto* bytes = reinterpret_cast<const uint8_t*>(utf8.data());
  const size_t length = utf8.size();
  size_t out = 0;
  for (size_t in = 0; in < length;) {
    UChar32 c = 0;
    U8_NEXT_OR_FFFD(bytes, in, length, c);
    U16_APPEND_UNSAFE(result.data(), out, c);
  }
  result.resize(out);
  return result;
}

std::string toUTF8(std::u16string_view utf16) {
  std::string result;
  result.resize(utf16.size() * 3);
  const size_t length = utf16.size();
  size_t out = 0;
  for (size_t in = 0; in < length;) {
    UChar32 c = 0;
    U16_NEXT(utf16.data(), in, length, c);
    if (U_IS_SURROGATE(c)) {
      c = kReplacement;
    }
    U8_APPEND_UNSAFE(reinterpret_cast<uint8_t*>(result.data()), out, c);
  }
  result.resize(out);
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

size_t utf16Length(std::string_view utf8) {
  return isASCII(utf8) ? utf8.size() : toUTF16(utf8).size();
}

}  // namespace jumplark
