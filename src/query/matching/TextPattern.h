#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "query/matching/FoldedText.h"
#include "query/matching/LinearPattern.h"
#include "query/text/RegularExpression.h"

namespace jumplark {

/// What the XPath function matches() does with one pattern: a regular expression in ICU's syntax, searched anywhere in
/// a text. Ordinary queries' patterns take a linear test; the others run in the engine within a budget, and what
/// exceeds it does not match. One thread at a time.
class TextPattern {
 public:
  using Case = RegularExpression::Case;

  /// The budget must outlive the pattern.
  TextPattern(std::u16string_view pattern, Case sensitivity, MatchBudget& budget);

  /// False when the pattern is no regular expression.
  bool isValid() const { return linear_ || engine_; }
  bool matchesEverything() const { return linear_ && linear_->matchesEverything(); }
  /// Answers from the folded form alone; none when it does not tell.
  std::optional<bool> matchesFolded(const FoldedText& text) const;
  bool matches(std::u16string_view text);

 private:
  bool engineMatches(std::u16string_view text);

  Case sensitivity_;
  MatchBudget& budget_;
  std::optional<LinearPattern> linear_;
  std::optional<RegularExpression> engine_;
};

}  // namespace jumplark
