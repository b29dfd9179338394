#include "cli/Snapshot.h"

#include <fmt/format.h>

#include <unordered_set>

#include "accessibility/JLElement.h"
#include "cli/NamedApplication.h"
#include "platform/Platform.h"
#include "platform/Texts.h"
#include "query/matching/JLElementFilter.h"
#include "query/matching/JLElementMatcher.h"
#include "tree/JLElementTree.h"
#include "tree/JLElementTreeEnumerator.h"

namespace jumplark::cli {
namespace {

std::string ownText(const JLElementNode& node) {
  for (const auto& [key, text] : node.textDictionary()) {
    if (!text.empty()) {
      return text;
    }
  }
  return {};
}

/// The node's text, else its title's, and so on; titles that lead back to one of them have no more to say.
std::string bestText(const JLElementNode& node) {
  std::unordered_set<const JLElementNode*> seen;
  for (const JLElementNode* step = &node; step && seen.insert(step).second; step = step->titleNode()) {
    if (std::string text = ownText(*step); !text.empty()) {
      return text;
    }
  }
  return {};
}

}  // namespace

RunningApplication findTarget(const Target& target) {
  Workspace& workspace = *Platform::current().workspace;
  if (target.pid) {
    const auto running = workspace.runningApplicationWithPid(*target.pid);
    if (!running) {
      throw CommandFailure(ExitStatus::outOfReach,
                           localizedFormat("No application with a window has the process id {}.", *target.pid));
    }
    return *running;
  }
  if (target.application) {
    return applicationNamed(*target.application);
  }
  const auto frontmost = workspace.frontmostApplication();
  if (!frontmost) {
    throw CommandFailure(ExitStatus::outOfReach,
                         localized("No application is in front: open one, or name one with --app or --pid."));
  }
  return *frontmost;
}

std::shared_ptr<JLElementTree> takeSnapshot(const RunningApplication& application, bool visibleOnly,
                                            bool windowButtons) {
  const auto element = JLElement::elementWithPID(application.pid);
  auto tree = JLElementTreeEnumerator(element).enumerateElementsWithOptions(
      {.visibleElements = visibleOnly, .windowButtons = windowButtons});
  if (element->role().empty()) {
    throw CommandFailure(
        ExitStatus::outOfReach,
        localizedFormat("{} does not answer on the accessibility bus; 'jumplark doctor' says what to do "
                        "about it.",
                        application.name.empty() ? localized("The application") : application.name));
  }
  return tree;
}

std::vector<LabelledMatch> rankedMatches(const std::shared_ptr<JLElementTree>& tree, const std::string& query) {
  const auto found = JLElementMatcher::searchElementTreeWithQuery(tree, query);
  const auto ordered = JLElementShortcutAssigner::orderedMatches(JLElementFilter::pruneElements(found).collect());
  const auto labels = JLElementShortcutAssigner::generateShortcutsForMatches(ordered);
  std::vector<LabelledMatch> ranked;
  ranked.reserve(ordered.size());
  for (size_t i = 0; i < ordered.size(); ++i) {
    ranked.push_back({ordered[i], labels[i]});
  }
  return ranked;
}

std::string describe(const JLElementMatch& match) {
  const JLElementNode& node = *match.node();
  return fmt::format("{} \"{}\"", node.attribute("Role").value_or(""), bestText(node));
}

}  // namespace jumplark::cli
