#include "query/text/TextUtilities.h"

#include "query/text/RegularExpression.h"
#include "query/text/Utf.h"

namespace jumplark {

std::optional<std::u16string> objectAtIndexedSubscript(std::u16string_view text, size_t index) {
  // Unsigned: for an empty text the bound wraps around and at() reports the access.
  if (index > text.size() - 1) {
    return std::nullopt;
  }
  return std::u16string(1, text.at(index));
}

Range range(std::u16string_view text) {
  return {0, static_cast<int64_t>(text.size())};
}

std::vector<std::u16string> characters(std::u16string_view text) {
  std::vector<std::u16string> result;
  result.reserve(text.size());
  for (const char16_t unit : text) {
    result.emplace_back(1, unit);
  }
  return result;
}

std::vector<std::string> scanWithPattern(const std::string& text, const std::string& pattern) {
  auto expression = RegularExpression::compile(toUTF16(pattern));
  if (!expression) {
    return {};
  }
  const std::u16string units = toUTF16(text);
  std::vector<std::string> result;
  for (const Range& match : expression->allMatches(units)) {
    result.push_back(toUTF8(
        std::u16string_view(units).substr(static_cast<size_t>(match.location), static_cast<size_t>(match.length))));
  }
  return result;
}

}  // namespace jumplark
