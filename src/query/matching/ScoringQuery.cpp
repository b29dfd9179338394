#include "query/matching/ScoringQuery.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <numeric>

#include "query/matching/FoldedText.h"
#include "query/matching/WordSplitter.h"
#include "query/text/CharacterTraits.h"
#include "query/text/TextFolding.h"

namespace jumplark {

namespace {

constexpr float kWordDecay = 0.9F;
constexpr size_t kShortestExactQuery = 4;
constexpr float kPenaltyPerUnit = 0.001F;
/// Stands for a mark in the query, which agrees with nothing; CharacterTraits::kRemoved is its counterpart in texts.
constexpr char16_t kNothing = 0xFFFE;
constexpr std::u16string_view kMetacharacters = u"\\^$.|?*+()[]{}";

std::array<float, PreparedWords::kScored> wordWeights() {
  std::array<float, PreparedWords::kScored> weights{};
  float weight = 1.0F;
  for (float& entry : weights) {
    entry = weight;
    weight *= kWordDecay;
  }
  return weights;
}

std::u16string bareUnits(std::u16string text) {
  const CharacterTraits& traits = CharacterTraits::instance();
  for (char16_t& unit : text) {
    unit = traits.bare(unit);
    unit = unit == CharacterTraits::kRemoved ? kNothing : unit;
  }
  return text;
}

/// Where in the text the character begins that `bareFolded` units come in front of when the text is folded; the marks
/// behind a character belong to it.
size_t offsetBehindFoldedUnits(std::u16string_view text, size_t bareFolded) {
  size_t offset = text.size();
  size_t folded = 0;
  forEachCharacter(text, [&](char32_t, size_t at, size_t units) {
    const size_t more = bareCaseFolding(text.substr(at, units)).text.size();
    if (folded >= bareFolded && more > 0) {
      offset = std::min(offset, at);
    }
    folded += more;
  });
  return offset;
}

}  // namespace

ScoringQuery::ScoringQuery(std::u16string query)
    : query_(std::move(query)),
      containsDiacritics_(textContainsDiacritics(query_)),
      lowered_(lowercased(query_)),
      bareLowered_(bareUnits(lowered_)),
      folded_(containsDiacritics_ ? caseFolded(query_) : bareCaseFolding(query_).text),
      foldedLetters_(FoldedText::lettersOf(folded_.needle())),
      literal_(query_),
      isLiteral_(query_.find_first_of(kMetacharacters) == std::u16string::npos) {}

double ScoringQuery::score(const PreparedText& text) {
  if (query_.empty()) {
    return 0;
  }
  if (text.original == query_) {
    return static_cast<double>(query_.size());
  }
  const size_t length = text.original.size();
  if (length >= PreparedText::kLong) {
    // Not clamped: a long text without a find scores slightly below 0.
    return applyLengthDifferencePenalty(scoreExactMatch(text), length);
  }
  double score = scoreWords(text.words);
  if (score == 0 && query_.size() >= kShortestExactQuery) {
    score = scoreExactMatch(text);
  }
  return score == 0 ? 0 : std::max(0.0, applyLengthDifferencePenalty(score, length));
}

float ScoringQuery::scoreWords(const PreparedWords& words) const {
  return bestWalk(words).first;
}

std::pair<float, size_t> ScoringQuery::bestWalk(const PreparedWords& words) const {
  // Each walk adds the starts that it makes reachable, all of them behind its own.
  uint64_t starts = 1;
  std::pair<float, size_t> best{0.0F, 0};
  while (starts != 0) {
    const auto first = static_cast<size_t>(std::countr_zero(starts));
    starts &= starts - 1;
    const Walk walk = walkFrom(words, first, [](size_t, size_t) {});
    best = walk.score > best.first ? std::pair(walk.score, first) : best;
    starts |= walk.startsBeyond;
  }
  return best;
}

std::vector<size_t> ScoringQuery::placesIn(const PreparedText& text) {
  std::vector<size_t> places;
  if (score(text) <= 0) {
    return places;
  }
  if (text.original.size() < PreparedText::kLong) {
    places = placesOfBestWalk(text);
  }
  if (places.empty()) {
    const Found found = text.original == query_ ? Found{0, query_.size()} : find(text);
    places.resize(std::min(found.length, text.original.size() - found.start));
    std::iota(places.begin(), places.end(), found.start);
  }
  return places;
}

std::vector<size_t> ScoringQuery::placesOfBestWalk(const PreparedText& text) const {
  std::vector<PreparedWords::Bounds> words;  // in the text as it is
  forEachWord(text.original, [&](size_t start, size_t end) {
    words.push_back({static_cast<uint32_t>(start), static_cast<uint32_t>(end)});
  });
  std::vector<size_t> places;
  const auto [score, first] = bestWalk(text.words);
  if (score > 0) {
    walkFrom(text.words, first, [&](size_t word, size_t unit) {
      const PreparedWords::Bounds lowered = text.words.bounds[word];
      if (lowered.end - lowered.start == words[word].end - words[word].start) {
        places.push_back(words[word].start + unit - lowered.start);
      }
    });
  }
  return places;
}

bool ScoringQuery::agrees(const PreparedWords& words, size_t unit, size_t letter) const {
  return containsDiacritics_ ? words.lowered[unit] == lowered_[letter]
                             : words.bareLowered[unit] == bareLowered_[letter];
}

template <typename Take>
ScoringQuery::Walk ScoringQuery::walkFrom(const PreparedWords& words, size_t firstWord, Take take) const {
  static const auto kWeights = wordWeights();
  Walk walk;
  size_t next = 0;
  bool tookLetters = false;
  for (size_t word = firstWord; word < words.bounds.size(); ++word) {
    walk.startsBeyond |= uint64_t{tookLetters ? 1U : 0U} << word;
    tookLetters = false;
    if (next == lowered_.size()) {
      break;
    }
    for (size_t unit = words.bounds[word].start; unit < words.bounds[word].end; ++unit) {
      if (!agrees(words, unit, next)) {
        // A space in the query is satisfied by the end of what a word gives.
        next += lowered_[next] == u' ' ? 1 : 0;
        break;
      }
      walk.score += kWeights[word];
      take(word, unit);
      tookLetters = true;
      if (++next == lowered_.size()) {
        break;
      }
    }
  }
  if (next < lowered_.size()) {
    walk.score = 0;
  }
  return walk;
}

double ScoringQuery::scoreExactMatch(const PreparedText& text) {
  const size_t length = find(text).length;
  if (length == 0) {
    return 0;
  }
  const size_t before = lengthOfWordBefore(text);
  const double depth = std::pow(static_cast<double>(kWordDecay), static_cast<double>(before));
  return depth * static_cast<double>(length);
}

ScoringQuery::Found ScoringQuery::find(const PreparedText& text) const {
  const size_t needle = folded_.needle().size();
  if (containsDiacritics_ && !text.isASCII) {
    const size_t found = folded_.find(caseFolded(text.original));
    return found == std::u16string_view::npos ? Found{} : Found{found, needle};
  }
  if ((foldedLetters_ & ~text.letters) != 0) {
    return {};
  }
  const size_t found = folded_.find(text.bareFolded);
  if (found == std::u16string_view::npos) {
    return {};
  }
  if (text.isAligned) {
    return {found, needle};
  }
  const size_t start = offsetBehindFoldedUnits(text.original, found);
  return {start, offsetBehindFoldedUnits(text.original, found + needle) - start};
}

size_t ScoringQuery::lengthOfWordBefore(const PreparedText& text) {
  if (isLiteral_) {
    return literalWordBefore(text);
  }
  if (!wordBeforeCompiled_) {
    wordBeforeCompiled_ = true;
    wordBefore_ = RegularExpression::compile(u"\\W(\\w+)" + query_);
    if (wordBefore_) {
      wordBefore_->setBudget(&budget_);
    }
  }
  const auto capture = wordBefore_ ? wordBefore_->captureInFirstMatch(text.original, 1) : std::nullopt;
  return capture ? static_cast<size_t>(capture->length) : 0;
}

/// The first match of `\W(\w+)query`: of the places where the query stands inside or right behind a word that has a
/// separator in front, those in the first such word, and of these the last, since `\w+` takes all it can.
size_t ScoringQuery::literalWordBefore(const PreparedText& prepared) const {
  const CharacterTraits& traits = CharacterTraits::instance();
  const std::u16string_view text = prepared.original.substr(prepared.firstSeparator);
  LiteralSearch::Places places(literal_, text);
  size_t place = places.next();
  size_t wordStart = 0;
  size_t result = 0;
  for (size_t at = 0; at < text.size() && place != std::u16string_view::npos;) {
    if (place == at) {
      result = wordStart > 0 ? at - wordStart : 0;
      place = places.next();
    }
    const auto [c, units] = characterAt(text, at);
    at += units;
    if (!traits.isWordCharacter(c)) {
      if (result > 0) {
        break;
      }
      wordStart = at;
    }
  }
  return result;
}

double ScoringQuery::applyLengthDifferencePenalty(double score, size_t textLength) const {
  // Unsigned: a query longer than the text wraps around to the whole penalty.
  const uint64_t difference = uint64_t{textLength} - uint64_t{query_.size()};
  const float penalty = std::min(1.0F, static_cast<float>(difference) * kPenaltyPerUnit);
  return score - static_cast<double>(penalty);
}

}  // namespace jumplark
