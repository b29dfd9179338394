// What a redraw of the overlay costs above the window system, beside its goal: the asking thread's part (labels, and
// the places of the boxes, which are read at the first time of a snapshot only) and the main thread's part, up to
// handing the layers to the view. Prints a table; no argument. Times are of a clock: medians and the worst of 100
// redraws.

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "SyntheticDesktop.h"
#include "accessibility/JLElement.h"
#include "backends/recorded/RecordedPlatform.h"
#include "overlay/JLElementHighlighter.h"
#include "selection/JLElementSelectionController.h"
#include "tree/JLElementTree.h"
#include "tree/JLElementTreeEnumerator.h"

namespace jumplark::bench {
namespace {

constexpr int kRuns = 100;

double millisecondsOf(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

struct Times {
  std::vector<double> all;
  double median() {
    std::sort(all.begin(), all.end());
    return all[all.size() / 2];
  }
  double worst() const { return *std::max_element(all.begin(), all.end()); }
};

JLElementSelectionController::Matches matchesOf(JLElementTree& tree, size_t count) {
  JLElementSelectionController::Matches matches;
  for (JLElementNode* node : tree.nodes()) {
    if (matches.size() < count && node->attribute("Role") != "Application") {
      matches.emplace_back(tree.handle(node), 1.0F);
    }
  }
  return matches;
}

void printRow(size_t boxes, double goal) {
  RecordedPlatform platform(RecordedDesktop::fromText(desktopWithElements(boxes + 100, Texts::ordinary), "benchmark"));
  const Token installed = platform.install();
  const auto tree = JLElementTreeEnumerator(JLElement::elementWithPID(kPid)).enumerateElements();
  JLElementSelectionController controller;
  const auto matches = matchesOf(*tree, boxes);
  const double first = millisecondsOf([&] { controller.setElementMatches(matches); });
  platform.queues().runPending();
  Times asking;
  Times drawing;
  for (int run = 0; run < kRuns; ++run) {
    asking.all.push_back(millisecondsOf([&] { controller.selectNextMatch(); }));
    drawing.all.push_back(millisecondsOf([&] { platform.queues().runPending(); }));
  }
  fmt::print("{:>6} {:>6} {:>14.2f} {:>9.2f} /{:>6.2f} {:>9.2f} /{:>6.2f} {:>8.0f}\n", boxes,
             platform.views().overlay().shownLayers().size(), first, asking.median(), asking.worst(), drawing.median(),
             drawing.worst(), goal);
  JLElement::flushCache();
}

}  // namespace
}  // namespace jumplark::bench

int main() {
  fmt::print("Milliseconds, median / worst. The goal is for the whole way to the screen.\n\n");
  fmt::print(" boxes  drawn  first, labels   asking thread     main thread         goal\n");
  for (const auto& [boxes, goal] : {std::pair<size_t, double>{30, 5}, {300, 15}, {3000, 60}}) {
    jumplark::bench::printRow(boxes, goal);
  }
  return 0;
}
