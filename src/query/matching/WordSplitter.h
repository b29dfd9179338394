#pragma once

#include <cstddef>
#include <string_view>

#include "query/text/CharacterTraits.h"

namespace jumplark {

/// Calls visit(start, end) for each word of a text: the pieces between matches of "[\W_]+|(?=[^\p{Ll}0-9])", in order.
/// Separators and every character that is neither a lowercase letter nor a digit split; between a separator and a
/// capital there is an empty piece, as there is in front of a leading and behind a trailing separator. The zero-length
/// split at the very start gives no piece. An empty text has no words.
template <typename Visit>
void forEachWord(std::u16string_view text, Visit visit) {
  const CharacterTraits& traits = CharacterTraits::instance();
  size_t start = 0;  // of the piece that is being read
  bool inSeparator = false;
  size_t separatorStart = 0;
  forEachCharacter(text, [&](char32_t c, size_t at, size_t) {
    if (c == U'_' || !traits.isWordCharacter(c)) {
      separatorStart = inSeparator ? separatorStart : at;
      inSeparator = true;
      return;
    }
    if (inSeparator) {
      visit(start, separatorStart);
      start = at;
      inSeparator = false;
    }
    if (traits.startsWord(c) && at > 0) {
      visit(start, at);
      start = at;
    }
  });
  if (inSeparator) {
    visit(start, separatorStart);
    visit(text.size(), text.size());
  } else if (!text.empty()) {
    visit(start, text.size());
  }
}

}  // namespace jumplark
