#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Geometry.h"

/// Small operations on texts. A character is one UTF-16 unit here, so one half of a surrogate pair is a character too.
namespace jumplark {

/// The one-character text at an index; none past the end. Throws std::out_of_range for an empty text, which has no
/// character to give: callers check for one first.
std::optional<std::u16string> objectAtIndexedSubscript(std::u16string_view text, size_t index);

/// From 0 over the whole length.
Range range(std::u16string_view text);

/// One one-character text per unit, in order.
std::vector<std::u16string> characters(std::u16string_view text);

/// The texts of every match of a regular expression, which do not overlap, in order; none when the pattern is invalid.
std::vector<std::string> scanWithPattern(const std::string& text, const std::string& pattern);

/// Base64 (RFC 4648, section 4, with padding) of the UTF-8 bytes of a text.
std::string base64String(std::string_view text);

/// The text whose Base64 this is; none when it is no Base64 or its bytes are not UTF-8.
std::optional<std::string> stringFromBase64String(std::string_view base64);

}  // namespace jumplark
