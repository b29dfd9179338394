#include <cstdint>

#include "query/text/TextUtilities.h"
#include "query/text/Utf.h"

namespace jumplark {

namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr uint32_t kNoDigit = 64;
constexpr char kPadding = '=';

uint32_t digitValue(char c) {
  const size_t position = kAlphabet.find(c);
  return position == std::string_view::npos ? kNoDigit : static_cast<uint32_t>(position);
}

/// The bytes of one group of four digits of which the last `padding` are padding; false when a digit is none.
bool decodeGroup(std::string_view group, size_t padding, std::string& bytes) {
  uint32_t bits = 0;
  for (size_t i = 0; i < 4; ++i) {
    const uint32_t value = i < 4 - padding ? digitValue(group[i]) : 0;
    if (value == kNoDigit) {
      return false;
    }
    bits = (bits << 6U) | value;
  }
  for (size_t i = 0; i < 3 - padding; ++i) {
    bytes += static_cast<char>((bits >> (16U - 8U * i)) & 0xFFU);
  }
  return true;
}

}  // namespace

std::string base64String(std::string_view text) {
  std::string result;
  result.reserve((text.size() + 2) / 3 * 4);
  for (size_t i = 0; i < text.size(); i += 3) {
    uint32_t bits = 0;
    const size_t count = text.size() - i < 3 ? text.size() - i : 3;
    for (size_t k = 0; k < 3; ++k) {
      bits = (bits << 8U) | (k < count ? static_cast<unsigned char>(text[i + k]) : 0U);
    }
    for (size_t k = 0; k < 4; ++k) {
      result += k <= count ? kAlphabet[(bits >> (18U - 6U * k)) & 0x3FU] : kPadding;
    }
  }
  return result;
}

std::optional<std::string> stringFromBase64String(std::string_view base64) {
  if (base64.size() % 4 != 0) {
    return std::nullopt;
  }
  std::string bytes;
  for (size_t i = 0; i < base64.size(); i += 4) {
    const std::string_view group = base64.substr(i, 4);
    size_t padding = 0;
    if (i + 4 == base64.size()) {
      padding = group[3] != kPadding ? 0 : (group[2] != kPadding ? 1 : 2);
    }
    if (!decodeGroup(group, padding, bytes)) {
      return std::nullopt;
    }
  }
  // Conversion keeps valid bytes as they are, so a difference tells that some were not UTF-8.
  if (toUTF8(toUTF16(bytes)) != bytes) {
    return std::nullopt;
  }
  return bytes;
}

}  // namespace jumplark
