#include "selection/JLElementShortcutAssigner.h"

#include <algorithm>
#include <string_view>

#include "accessibility/JLElement.h"
#include "tree/JLElementNode.h"

namespace jumplark {
namespace {

/// In order of preference. G, I, O, Q and W are absent.
constexpr std::string_view kAlphabet = "AEUDHTNSPYFCRLJKXBMVZ";

/// Scores within 5 % tell no difference.
constexpr float kAlike = 0.95F;

std::vector<std::string> makeTable() {
  std::vector<std::string> table;
  for (const char a : kAlphabet) {
    table.push_back({a});
  }
  for (const char a : kAlphabet) {
    for (const char b : kAlphabet) {
      if (a != b) {
        table.push_back({a, b});
      }
    }
  }
  for (const char a : kAlphabet) {
    for (const char b : kAlphabet) {
      for (const char c : kAlphabet) {
        if (a != b && a != c) {
          table.push_back({a, b, c});
        }
      }
    }
  }
  return table;
}

}  // namespace

const std::vector<std::string>& JLElementShortcutAssigner::shortcutsForCurrentLayout() {
  static const std::vector<std::string> table = makeTable();
  return table;
}

std::vector<std::string> JLElementShortcutAssigner::generateShortcutsForMatches(const Matches& matches) {
  const auto& table = shortcutsForCurrentLayout();
  const auto count = static_cast<std::ptrdiff_t>(std::min(matches.size(), table.size()));
  return {table.begin(), table.begin() + count};
}

std::unordered_map<JLElementMatch, std::string, JLElementMatchHash> JLElementShortcutAssigner::assignShortcutsToMatches(
    const Matches& matches) {
  const std::vector<std::string> labels = generateShortcutsForMatches(matches);
  std::unordered_map<JLElementMatch, std::string, JLElementMatchHash> assigned;
  assigned.reserve(labels.size());
  for (size_t i = 0; i < labels.size(); ++i) {
    assigned.emplace(matches[i], labels[i]);
  }
  return assigned;
}

JLElementShortcutAssigner::Matches JLElementShortcutAssigner::orderedMatches(Matches matches) {
  std::stable_sort(matches.begin(), matches.end(),
                   [](const JLElementMatch& a, const JLElementMatch& b) { return a.score() > b.score(); });
  std::stable_partition(matches.begin(), matches.end(),
                        [](const JLElementMatch& match) { return !match.node() || !match.node()->isWindowButton(); });
  const size_t most = shortcutsForCurrentLayout().size();
  if (matches.size() > most) {
    matches.erase(matches.begin() + static_cast<std::ptrdiff_t>(most), matches.end());
  }
  return matches;
}

JLElementShortcutAssigner::Matches JLElementShortcutAssigner::orderedForUse(Matches matches) {
  matches = orderedMatches(std::move(matches));
  const auto isUsable = [](const JLElementMatch& match) {
    const auto element = match.node() ? match.node()->element() : nullptr;
    return !element || !element->isKnownDisabled();
  };
  for (auto start = matches.begin(); start != matches.end();) {
    const bool isOfWindow = start->node() && start->node()->isWindowButton();
    const auto end =
        std::find_if(start, matches.end(), [&, least = start->score() * kAlike](const JLElementMatch& one) {
          return one.score() < least || (one.node() && one.node()->isWindowButton() != isOfWindow);
        });
    std::stable_partition(start, end, isUsable);
    start = end;
  }
  return matches;
}

}  // namespace jumplark
