#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "query/matching/JLElementMatch.h"

namespace jumplark {

/// How one match is drawn.
struct HighlightOptions {
  std::string label;
  /// Six hexadecimal digits, red, green, blue; without it the box is yellow.
  std::optional<std::string> backgroundColor;
  /// Less of the box and its label shows: the element cannot be used now.
  bool isFaint = false;
  bool operator==(const HighlightOptions&) const = default;
};

/// A map from match to options, each match once. Its order is that of drawing: later ones lie in front.
using HighlightOptionMap = std::vector<std::pair<JLElementMatch, HighlightOptions>>;

}  // namespace jumplark
