#include "cli/Commands.h"

#include <fmt/format.h>

#include <cstdio>
#include <nlohmann/json.hpp>

#include "accessibility/JLElement.h"
#include "accessibility/ScreenCoordinates.h"
#include "cli/Snapshot.h"
#include "platform/Menus.h"
#include "platform/Platform.h"
#include "platform/Texts.h"
#include "selection/JLElementActioner.h"
#include "tree/JLElementTree.h"

namespace jumplark::cli {
namespace {

nlohmann::ordered_json asJSON(const LabelledMatch& labelled) {
  const JLElementNode& node = *labelled.match.node();
  nlohmann::ordered_json texts = nlohmann::ordered_json::object();
  for (const auto& [key, text] : node.textDictionary()) {
    texts[key] = text;
  }
  const auto subrole = node.attribute("Subrole");
  const Rect& bounds = node.bounds();
  return {{"label", labelled.label},
          {"score", labelled.match.score()},
          {"role", node.attribute("Role").value_or("")},
          {"subrole", subrole ? nlohmann::ordered_json(*subrole) : nlohmann::ordered_json(nullptr)},
          {"id", node.element() ? node.element()->ref().text() : ""},
          {"hash", node.hash()},
          {"texts", texts},
          {"bounds", {bounds.x, bounds.y, bounds.width, bounds.height}}};
}

std::string onOneLine(std::string text) {
  for (char& c : text) {
    if (c == '\n' || c == '\r' || c == '\t') {
      c = ' ';
    }
  }
  return text;
}

void printMatches(const std::vector<LabelledMatch>& matches) {
  for (const LabelledMatch& labelled : matches) {
    const Rect& bounds = labelled.match.node()->bounds();
    fmt::print("{}\n",
               localizedFormat("{:<4}{:>8.3f}  {}  at {},{} size {}x{}", labelled.label, labelled.match.score(),
                               onOneLine(describe(labelled.match)), bounds.x, bounds.y, bounds.width, bounds.height));
  }
}

/// Closes menus that would take the click; says so where one stays open over what is meant.
void makeWay(const JLElementMatch& match, const std::string& what) {
  const auto element = match.node()->element();
  const JLElementActioner& actioner = JLElementActioner::sharedInstance();
  const Point place = actioner.findClickablePointForElement(element);
  const auto isMenuThere = [menus = Platform::current().menus, place] {
    return menus && menus->isOpenAt(pointFromBottomLeftToTopLeft(place));
  };
  if (isMenuThere() && (element->role() == "AXMenuItem" || actioner.isOnTopAt(element, place))) {
    return;  // it stands in that menu
  }
  if (Platform::current().menus) {
    Platform::current().menus->closeOpen();
  }
  if (isMenuThere()) {
    throw CommandFailure(ExitStatus::nothingMatched, localizedFormat("an open menu lies over {}.", what));
  }
}

std::string nothingMatches(const std::string& query) {
  return localizedFormat("nothing that shows matches '{}'.", query);
}

ExitStatus askWindowSystem(const JLElement& button, const std::string& what, bool dryRun) {
  if (dryRun) {
    fmt::print("{}\n", localizedFormat("would ask the window system for {}", what));
    return ExitStatus::done;
  }
  if (!button.performAction("AXPress")) {
    throw CommandFailure(ExitStatus::outOfReach, localizedFormat("The window system did not take {}.", what));
  }
  fmt::print("{}\n", localizedFormat("asked the window system for {}", what));
  return ExitStatus::done;
}

}  // namespace

ExitStatus runTree(const Options& options) {
  const auto tree = takeSnapshot(findTarget(options.target), !options.all);
  fmt::print("{}\n", tree->debugDescription());
  return ExitStatus::done;
}

ExitStatus runMatch(const Options& options) {
  const auto tree = takeSnapshot(findTarget(options.target), true, options.window);
  const auto matches = rankedMatches(tree, options.query);
  if (options.json) {
    auto list = nlohmann::ordered_json::array();
    for (const LabelledMatch& labelled : matches) {
      list.push_back(asJSON(labelled));
    }
    fmt::print("{}\n", list.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
  } else if (matches.empty()) {
    fmt::print(stderr, "jumplark: {}\n", nothingMatches(options.query));
  } else {
    printMatches(matches);
  }
  return matches.empty() ? ExitStatus::nothingMatched : ExitStatus::done;
}

ExitStatus runAct(const Options& options) {
  const auto tree = takeSnapshot(findTarget(options.target), true, options.window);
  const auto matches = rankedMatches(tree, options.query);
  if (matches.empty()) {
    throw CommandFailure(ExitStatus::nothingMatched, nothingMatches(options.query));
  }
  const JLElementMatch& best = matches.front().match;
  const std::string what = onOneLine(describe(best));
  JLElementActioner& actioner = JLElementActioner::sharedInstance();
  if (best.node()->isWindowButton()) {
    return askWindowSystem(*best.node()->element(), what, options.dryRun);
  }
  if (options.dryRun) {
    const Point point = actioner.pointOfAction(best.node()->element());
    fmt::print("{}\n", localizedFormat("would click {} near {},{} (bottom-left origin)", what, point.x, point.y));
    return ExitStatus::done;
  }
  makeWay(best, what);
  actioner.setWaitsForDoubleClick(false);
  actioner.actionElement(best.node()->element());
  const Point where = actioner.getCursorPosition();
  const bool moved = best.node()->element()->role() == "AXSlider";
  fmt::print("{}\n", moved ? localizedFormat("moved to {} at {},{}", what, where.x, where.y)
                           : localizedFormat("clicked {} at {},{}", what, where.x, where.y));
  return ExitStatus::done;
}

}  // namespace jumplark::cli
