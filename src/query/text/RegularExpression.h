#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Geometry.h"

namespace jumplark {

/// How much backtracking the matches that share it may do together, counted in steps of some 10,000 saved states (about
/// 0.1 ms). A match that ends before its first step costs nothing, so only runaway patterns use it up.
struct MatchBudget {
  static constexpr int32_t kStepsPerMatch = 50;
  static constexpr int32_t kStepsPerQuery = 500;

  int32_t stepsPerMatch = kStepsPerMatch;
  int32_t stepsLeft = kStepsPerQuery;
};

/// A compiled regular expression in ICU's syntax, which may come from what a user typed: nothing about a pattern or a
/// text throws, and a search that exceeds its limits finds nothing. One thread at a time may use an object.
class RegularExpression {
 public:
  enum class Case { sensitive, insensitive };

  /// None when the pattern is invalid.
  static std::optional<RegularExpression> compile(std::u16string_view pattern, Case sensitivity = Case::sensitive);

  RegularExpression(RegularExpression&& other) noexcept;
  RegularExpression& operator=(RegularExpression&& other) noexcept;
  ~RegularExpression();

  /// Limits later searches; without a budget only the limit of a single match holds. The budget must outlive its use.
  void setBudget(MatchBudget* budget);

  /// True when the expression matches somewhere in the text.
  bool matchesWithin(std::u16string_view text);
  /// The range of a capture group in the first match, in UTF-16 units; none without a match, or when the group took no
  /// part in it.
  std::optional<Range> captureInFirstMatch(std::u16string_view text, int32_t group);
  /// The ranges of all matches, which do not overlap, in order.
  std::vector<Range> allMatches(std::u16string_view text);

 private:
  struct State;
  explicit RegularExpression(std::unique_ptr<State> state);

  std::unique_ptr<State> state_;
};

}  // namespace jumplark
