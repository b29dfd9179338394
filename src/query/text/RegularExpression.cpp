#include "query/text/RegularExpression.h"

#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <utility>

namespace jumplark {

namespace {

icu::UnicodeString alias(std::u16string_view text) {
  return icu::UnicodeString(false, text.data(), static_cast<int32_t>(text.size()));
}

}  // namespace

struct RegularExpression::State {
  State(std::u16string_view pattern, uint32_t flags, UErrorCode& status) : matcher(alias(pattern), flags, status) {}

  /// Starts a search; the text stays where it is and must outlive the search.
  void begin(std::u16string_view text) {
    UErrorCode status = U_ZERO_ERROR;
    input = alias(text);
    matcher.reset(input);
    // The engine counts only while somebody listens; the listener is what enforces both limits.
    matcher.setMatchCallback(&State::mayGoOn, this, status);
  }

  bool find() {
    UErrorCode status = U_ZERO_ERROR;
    return matcher.find(status) && U_SUCCESS(status);
  }

  std::optional<Range> group(int32_t number) const {
    UErrorCode status = U_ZERO_ERROR;
    const int32_t start = matcher.start(number, status);
    const int32_t end = matcher.end(number, status);
    if (U_FAILURE(status) || start < 0) {
      return std::nullopt;
    }
    return Range{start, end - start};
  }

  static UBool U_CALLCONV mayGoOn(const void* context, int32_t steps) {
    const auto* state = static_cast<const State*>(context);
    if (state->budget == nullptr) {
      return steps < MatchBudget::kStepsPerMatch;
    }
    return --state->budget->stepsLeft > 0 && steps < state->budget->stepsPerMatch;
  }

  icu::RegexMatcher matcher;
  icu::UnicodeString input;
  MatchBudget* budget = nullptr;
};

RegularExpression::RegularExpression(std::unique_ptr<State> state) : state_(std::move(state)) {}
RegularExpression::RegularExpression(RegularExpression&& other) noexcept = default;
RegularExpression& RegularExpression::operator=(RegularExpression&& other) noexcept = default;
RegularExpression::~RegularExpression() = default;

std::optional<RegularExpression> RegularExpression::compile(std::u16string_view pattern, Case sensitivity) {
  UErrorCode status = U_ZERO_ERROR;
  const uint32_t flags = sensitivity == Case::insensitive ? static_cast<uint32_t>(UREGEX_CASE_INSENSITIVE) : 0;
  auto state = std::make_unique<State>(pattern, flags, status);
  if (U_FAILURE(status)) {
    return std::nullopt;
  }
  return RegularExpression(std::move(state));
}

void RegularExpression::setBudget(MatchBudget* budget) {
  state_->budget = budget;
}

bool RegularExpression::matchesWithin(std::u16string_view text) {
  state_->begin(text);
  return state_->find();
}

std::optional<Range> RegularExpression::captureInFirstMatch(std::u16string_view text, int32_t group) {
  state_->begin(text);
  return state_->find() ? state_->group(group) : std::nullopt;
}

std::vector<Range> RegularExpression::allMatches(std::u16string_view text) {
  std::vector<Range> matches;
  state_->begin(text);
  while (state_->find()) {
    if (const auto match = state_->group(0)) {
      matches.push_back(*match);
    }
  }
  return matches;
}

}  // namespace jumplark
