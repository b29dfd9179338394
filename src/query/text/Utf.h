#pragma once

#include <string>
#include <string_view>

/// Text travels as UTF-8 and is measured in UTF-16 units; these convert. Bytes that are not UTF-8 and lone surrogates
/// become U+FFFD, so that both forms of a text always hold the same characters.
namespace jumplark {

std::u16string toUTF16(std::string_view utf8);
std::string toUTF8(std::u16string_view utf16);

/// True when every byte is below 0x80.
bool isASCII(std::string_view utf8);

}  // namespace jumplark
