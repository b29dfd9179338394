#include "query/engine/TargetSnapshot.h"

#include <spdlog/spdlog.h>

#include "accessibility/JLElement.h"
#include "metrics/JLMetrics.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "query/matching/JLElementMatcher.h"
#include "tree/JLElementTree.h"
#include "tree/JLElementTreeEnumerator.h"

namespace jumplark {
namespace {

void report(const JLElement& application, const JLElementTree& tree, double duration) {
  const auto running = application.runningApp();
  spdlog::debug("enumeration: {:.3f} ms, {} elements", duration, tree.elementCount());
  JLTrackEvent("enumeration", MetricData{{"duration_ms", duration},
                                         {"bundle_id", running ? running->bundleIdentifier : std::string()},
                                         {"element_count", static_cast<int64_t>(tree.elementCount())}});
}

}  // namespace

std::shared_ptr<JLElementTree> takeSnapshotOfTarget(const std::shared_ptr<JLElement>& application,
                                                    const std::function<bool()>& isUnwanted) {
  Queues& queues = *Platform::current().queues;
  const Duration start = queues.monotonicNow();
  EnumerationOptions options;
  options.visibleElements = true;
  options.windowButtons = true;
  options.isUnwanted = isUnwanted;
  auto tree = JLElementTreeEnumerator(application).enumerateElementsWithOptions(options);
  if (isUnwanted()) {
    // What this has read since the activation ended must not be taken for the next one's.
    JLElement::flushCache();
    return nullptr;
  }
  report(*application, *tree, milliseconds(queues.monotonicNow() - start));
  JLElementMatcher::prepare(*tree);
  return tree;
}

std::shared_ptr<JLElement> focusedWindowOfTarget(const JLElement& application) {
  auto window = application.focusedWindow();
  if (window) {
    window->role();
    for (const auto& above : window->ancestors()) {
      above->role();
    }
  }
  return window;
}

}  // namespace jumplark
