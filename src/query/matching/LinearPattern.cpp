#include "query/matching/LinearPattern.h"

#include <algorithm>

#include "query/text/CharacterTraits.h"

namespace jumplark {

namespace {

constexpr std::u16string_view kMetacharacters = u"\\^$|?*+()[]{}";

bool isTrail(char16_t unit) {
  return unit >= 0xDC00 && unit < 0xE000;
}
bool isLead(char16_t unit) {
  return unit >= 0xD800 && unit < 0xDC00;
}

/// The length of ".*" or ".*?" at an offset; 0 when there is none, or when another quantifier behind it changes what it
/// means.
size_t gapLength(std::u16string_view pattern, size_t offset) {
  if (pattern.substr(offset, 2) != u".*") {
    return 0;
  }
  const size_t length = pattern.substr(offset, 3) == u".*?" ? 3 : 2;
  return pattern.substr(offset + length, 1) == u"+" ? 0 : length;
}

/// Whether a character of a pattern stands for itself and for nothing that ends a line.
bool isLiteral(char32_t c) {
  const bool meta = c < 0x80 && kMetacharacters.find(static_cast<char16_t>(c)) != std::u16string_view::npos;
  const bool surrogate = c >= 0xD800 && c <= 0xDFFF;
  return !meta && !surrogate && c != 0xFFFF && !CharacterTraits::isLineEnd(c);
}

bool isSubsequenceOf(std::u16string_view sequence, std::u16string_view units) {
  size_t next = 0;
  for (size_t i = 0; i < units.size() && next < sequence.size(); ++i) {
    next += units[i] == sequence[next] ? 1 : 0;
  }
  return next == sequence.size();
}

}  // namespace

std::optional<LinearPattern> LinearPattern::parse(std::u16string_view pattern) {
  LinearPattern result;
  for (size_t start = 0;;) {
    const size_t bar = pattern.find(u'|', start);
    const std::u16string_view text = pattern.substr(start, bar - start);
    auto alternative = parseAlternative(text);
    if (!alternative) {
      return std::nullopt;
    }
    result.add(std::move(*alternative), text);
    if (bar == std::u16string_view::npos) {
      break;
    }
    start = bar + 1;
  }
  result.dropImplied();
  return result;
}

std::optional<LinearPattern::Alternative> LinearPattern::parseAlternative(std::u16string_view pattern) {
  Alternative result;
  bool gap = true;
  bool understood = true;
  size_t skip = 0;
  forEachCharacter(pattern, [&](char32_t c, size_t offset, size_t) {
    if (offset < skip || !understood) {
      return;
    }
    if (const size_t length = gapLength(pattern, offset); length > 0) {
      skip = offset + length;
      gap = true;
      return;
    }
    understood = c == U'.' || isLiteral(c);
    if (!understood) {
      return;
    }
    if (gap) {
      result.pieces.emplace_back();
      gap = false;
    }
    if (c == U'.') {
      result.pieces.back() += kAnyCharacter;
    } else {
      result.pieces.back() += CharacterTraits::fullyFolded(c);
    }
  });
  if (!understood) {
    return std::nullopt;
  }
  for (const Piece& piece : result.pieces) {
    result.singleUnits = result.singleUnits && piece.size() == 1 && piece.front() != kAnyCharacter;
    std::copy_if(piece.begin(), piece.end(), std::back_inserter(result.sequence),
                 [](char16_t unit) { return unit != kAnyCharacter; });
  }
  result.letters = FoldedText::lettersOf(result.sequence);
  return result;
}

void LinearPattern::add(Alternative alternative, std::u16string_view pattern) {
  if (!alternative.singleUnits) {
    patternForEngine_ += hasEnginePattern_ ? u"|" : u"";
    patternForEngine_ += pattern;
    hasEnginePattern_ = true;
  }
  alternatives_.push_back(std::move(alternative));
}

/// Leaves out alternatives that can only match where a looser one does: "sa.*?ve" beside "s.*?a.*?v.*?e".
void LinearPattern::dropImplied() {
  const auto loose = std::find_if(alternatives_.begin(), alternatives_.end(),
                                  [](const Alternative& alternative) { return alternative.singleUnits; });
  if (loose == alternatives_.end()) {
    return;
  }
  const Alternative kept = *loose;
  std::erase_if(alternatives_,
                [&](const Alternative& other) { return isSubsequenceOf(kept.sequence, other.sequence); });
  alternatives_.push_back(kept);
}

bool LinearPattern::matchesEverything() const {
  return std::any_of(alternatives_.begin(), alternatives_.end(),
                     [](const Alternative& alternative) { return alternative.pieces.empty(); });
}

LinearPattern::Answer LinearPattern::matches(const FoldedText& text) const {
  const bool matches = std::any_of(alternatives_.begin(), alternatives_.end(), [&](const Alternative& alternative) {
    return (alternative.letters & ~text.letters) == 0 && matchesIn(alternative, text);
  });
  if (matches) {
    return Answer::yes;
  }
  return hasEnginePattern_ && text.hasFullFold ? Answer::askEngine : Answer::no;
}

bool LinearPattern::matchesIn(const Alternative& alternative, const FoldedText& text) {
  if (alternative.pieces.empty()) {
    return true;
  }
  if (alternative.singleUnits) {
    return isSubsequence(alternative.sequence, text);
  }
  size_t start = 0;
  for (size_t i = 0; i <= text.units.size(); ++i) {
    if (i == text.units.size() || CharacterTraits::isLineEnd(text.units[i])) {
      if (piecesFollow(alternative.pieces, text.units.substr(start, i - start))) {
        return true;
      }
      start = i + 1;
    }
  }
  return false;
}

bool LinearPattern::isSubsequence(std::u16string_view sequence, const FoldedText& text) {
  if (!text.hasLineEnds) {
    return isSubsequenceOf(sequence, text.units);
  }
  size_t next = 0;
  for (const char16_t unit : text.units) {
    if (unit == sequence[next]) {
      if (++next == sequence.size()) {
        return true;
      }
    } else if (CharacterTraits::isLineEnd(unit)) {
      next = 0;
    }
  }
  return false;
}

bool LinearPattern::piecesFollow(const std::vector<Piece>& pieces, std::u16string_view line) {
  size_t from = 0;
  return std::all_of(pieces.begin(), pieces.end(), [&](const Piece& piece) {
    from = endOfEarliest(piece, line, from);
    return from != std::u16string_view::npos;
  });
}

size_t LinearPattern::endOfEarliest(const Piece& piece, std::u16string_view line, size_t from) {
  for (size_t start = from; start < line.size(); ++start) {
    if (isTrail(line[start]) && start > 0 && isLead(line[start - 1])) {
      continue;
    }
    size_t at = start;
    size_t matched = 0;
    while (matched < piece.size() && at < line.size()) {
      if (piece[matched] == kAnyCharacter) {
        at += isLead(line[at]) && at + 1 < line.size() && isTrail(line[at + 1]) ? 2 : 1;
      } else if (piece[matched] == line[at]) {
        ++at;
      } else {
        break;
      }
      ++matched;
    }
    if (matched == piece.size()) {
      return at;
    }
  }
  return std::u16string_view::npos;
}

}  // namespace jumplark
