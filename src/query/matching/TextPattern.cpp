#include "query/matching/TextPattern.h"

namespace jumplark {

TextPattern::TextPattern(std::u16string_view pattern, Case sensitivity, MatchBudget& budget)
    : sensitivity_(sensitivity), budget_(budget) {
  if (sensitivity == Case::insensitive) {
    linear_ = LinearPattern::parse(pattern);
  }
  if (!linear_) {
    engine_ = RegularExpression::compile(pattern, sensitivity_);
    if (engine_) {
      engine_->setBudget(&budget_);
    }
  }
}

std::optional<bool> TextPattern::matchesFolded(const FoldedText& text) const {
  if (!linear_) {
    return std::nullopt;
  }
  const auto answer = linear_->matches(text);
  return answer == LinearPattern::Answer::askEngine ? std::nullopt
                                                    : std::optional<bool>(answer == LinearPattern::Answer::yes);
}

bool TextPattern::matches(std::u16string_view text) {
  if (linear_) {
    std::u16string storage;
    if (const auto answer = matchesFolded(foldText(text, storage))) {
      return *answer;
    }
  }
  return engineMatches(text);
}

bool TextPattern::engineMatches(std::u16string_view text) {
  if (!engine_) {
    engine_ = RegularExpression::compile(linear_->patternForEngine(), sensitivity_);
    if (!engine_) {
      return false;
    }
    engine_->setBudget(&budget_);
  }
  return engine_->matchesWithin(text);
}

}  // namespace jumplark
