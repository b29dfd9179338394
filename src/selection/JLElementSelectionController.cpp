#include "selection/JLElementSelectionController.h"

#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <string>
#include <unordered_map>
#include <utility>

#include "accessibility/JLElement.h"
#include "overlay/JLElementHighlighter.h"
#include "platform/Input.h"
#include "platform/Platform.h"
#include "platform/Views.h"
#include "selection/JLElementShortcutAssigner.h"
#include "streams/NotificationCenter.h"
#include "tree/JLElementNode.h"

namespace jumplark {
namespace {

const char* const kSelectedColor = "2088d4";

std::string inCapitals(const std::string& text) {
  std::string capitals;
  icu::UnicodeString::fromUTF8(text).toUpper(icu::Locale::getRoot()).toUTF8String(capitals);
  return capitals;
}

void dropFirstCharacter(std::string& text) {
  icu::UnicodeString units = icu::UnicodeString::fromUTF8(text);
  units.remove(0, units.moveIndex32(0, 1));
  text.clear();
  units.toUTF8String(text);
}

}  // namespace

/// Matches with their labels; not changed any more once it is in a state.
struct JLElementSelectionController::MatchSet {
  MatchSet() = default;
  explicit MatchSet(Matches matches) : byScore(JLElementShortcutAssigner::orderedForUse(std::move(matches))) {
    const auto assigned = JLElementShortcutAssigner::assignShortcutsToMatches(byScore);
    labels.reserve(byScore.size());
    indexByLabel.reserve(byScore.size());
    for (size_t i = 0; i < byScore.size(); ++i) {
      labels.push_back(assigned.at(byScore[i]));
      const auto element = byScore[i].node() ? byScore[i].node()->element() : nullptr;
      isFaint.push_back(element && element->isKnownDisabled());
      indexByLabel.emplace(labels.back(), i);
    }
  }

  /// An equal match before this one stands for both.
  bool isRepetition(size_t index) const { return indexByLabel.at(labels[index]) != index; }

  Matches byScore;
  std::vector<std::string> labels;
  std::vector<bool> isFaint;  ///< cannot be used now
  std::unordered_map<std::string, size_t> indexByLabel;
};

/// One moment of the selection. The selected match and the current index part after a backspace.
struct JLElementSelectionController::State {
  std::shared_ptr<const MatchSet> set = std::make_shared<MatchSet>();
  std::optional<size_t> selected;
  int64_t currentIndex = -1;
  std::string currentShortcut;

  void select(std::optional<size_t> index) {
    selected = index;
    currentIndex = index ? static_cast<int64_t>(*index) : -1;
  }
  void selectAtIndex(size_t index) { select(index < set->byScore.size() ? std::optional(index) : std::nullopt); }
  std::optional<size_t> first() const { return set->byScore.empty() ? std::nullopt : std::optional<size_t>(0); }
  const JLElementMatch* selectedMatch() const { return selected ? &set->byScore[*selected] : nullptr; }
};

JLElementSelectionController::JLElementSelectionController()
    : highlighter_(std::make_unique<JLElementHighlighter>()), state_(std::make_shared<State>()) {}

JLElementSelectionController::~JLElementSelectionController() = default;

void JLElementSelectionController::setElementMatches(Matches matches, const std::function<bool()>& isUnwanted) {
  if (matches.empty()) {
    highlighter_->setVisible(false);
    postSelection(*state_.change([](State& state) {
      state.set = std::make_shared<MatchSet>();
      state.select(std::nullopt);
    }));
    return;
  }
  const auto set = std::make_shared<const MatchSet>(std::move(matches));
  const StatePointer now = state_.change([&](State& state) {
    state.set = set;
    state.currentShortcut.clear();
    state.selectAtIndex(0);
  });
  // Visible first: boxes that are made while there is no window are never seen.
  highlighter_->setVisible(true);
  updateHighlightsOf(*now, isUnwanted);
}

void JLElementSelectionController::selectNextMatch() {
  updateHighlightsOf(*state_.change([](State& state) {
    const auto next = static_cast<size_t>(state.currentIndex + 1);
    state.selectAtIndex(next < state.set->byScore.size() ? next : 0);
  }));
}

void JLElementSelectionController::selectPreviousMatch() {
  updateHighlightsOf(*state_.change([](State& state) {
    const int64_t after = state.currentIndex < 1 ? static_cast<int64_t>(state.set->byScore.size()) : state.currentIndex;
    state.selectAtIndex(static_cast<size_t>(after - 1));
  }));
}

void JLElementSelectionController::selectMatchAtIndex(size_t index) {
  updateHighlightsOf(*state_.change([index](State& state) { state.selectAtIndex(index); }));
}

void JLElementSelectionController::selectMatchInDirection(SelectionDirection /*direction*/) {}

void JLElementSelectionController::selectionKeyReceived(const KeyEvent& event) {
  if (event.keyCode == key_code::backspace) {
    const StatePointer now = state_.change([](State& state) {
      state.currentShortcut.clear();
      state.selected = state.first();
    });
    if (now->selected) {
      updateHighlightsOf(*now);
    }
    return;
  }
  const std::string typed = inCapitals(event.charactersIgnoringModifiers);
  if (typed.empty()) {
    return;
  }
  bool found = false;
  const StatePointer now = state_.change([&](State& state) {
    state.currentShortcut += typed;
    found = selectByEntry(state);
  });
  if (!found) {
    Platform::current().input->beep();
  }
  updateHighlightsOf(*now);
}

bool JLElementSelectionController::selectByEntry(State& state) {
  for (std::string& entry = state.currentShortcut; !entry.empty(); dropFirstCharacter(entry)) {
    const auto labelled = state.set->indexByLabel.find(entry);
    if (labelled != state.set->indexByLabel.end()) {
      state.select(labelled->second);
      return true;
    }
  }
  state.select(state.first());
  return false;
}

void JLElementSelectionController::resetSelectionEntry() {
  state_.change([](State& state) { state.currentShortcut.clear(); });
}

void JLElementSelectionController::updateHighlights(const std::function<bool()>& isUnwanted) {
  updateHighlightsOf(*state_.load(), isUnwanted);
}

void JLElementSelectionController::updateHighlightsOf(const State& state, const std::function<bool()>& isUnwanted) {
  highlighter_->setHighlightedElements(highlightOptionsOf(state), isUnwanted);
  postSelection(state);
}

HighlightOptionMap JLElementSelectionController::elementMatchesWithHighlightOptions() const {
  return highlightOptionsOf(*state_.load());
}

HighlightOptionMap JLElementSelectionController::highlightOptionsOf(const State& state) {
  const MatchSet& set = *state.set;
  HighlightOptionMap options;
  options.reserve(set.byScore.size());
  for (size_t i = set.byScore.size(); i-- > 0;) {
    const bool isSelected = state.selected && set.labels[i] == set.labels[*state.selected];
    if (!isSelected && !set.isRepetition(i)) {
      options.emplace_back(set.byScore[i], HighlightOptions{set.labels[i], std::nullopt, set.isFaint[i]});
    }
  }
  if (state.selected) {
    const size_t i = *state.selected;
    options.emplace_back(set.byScore[i], HighlightOptions{set.labels[i], kSelectedColor, set.isFaint[i]});
  }
  return options;
}

void JLElementSelectionController::postSelection(const State& state) {
  Notification notification{"ElementSelectionChanged", {}, {}};
  if (const JLElementMatch* match = state.selectedMatch()) {
    notification.object = match->node();
  }
  NotificationCenter::defaultCenter().post(notification);
}

std::optional<JLElementMatch> JLElementSelectionController::currentMatch() const {
  const StatePointer state = state_.load();
  const JLElementMatch* match = state->selectedMatch();
  return match ? std::optional(*match) : std::nullopt;
}

int64_t JLElementSelectionController::currentIndex() const {
  return state_.load()->currentIndex;
}

JLElementSelectionController::Matches JLElementSelectionController::elementMatchesByScore() const {
  return state_.load()->set->byScore;
}

size_t JLElementSelectionController::matchCount() const {
  return state_.load()->set->byScore.size();
}

std::string JLElementSelectionController::currentLabel() const {
  const StatePointer state = state_.load();
  return state->selected ? state->set->labels[*state->selected] : "";
}

std::string JLElementSelectionController::currentShortcut() const {
  return state_.load()->currentShortcut;
}

}  // namespace jumplark
