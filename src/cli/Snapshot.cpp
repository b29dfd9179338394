#include "cli/Snapshot.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>
#include <unordered_set>

#include "accessibility/JLElement.h"
#include "platform/Platform.h"
#include "platform/Texts.h"
#include "query/matching/JLElementFilter.h"
#include "query/matching/JLElementMatcher.h"
#include "tree/JLElementTree.h"
#include "tree/JLElementTreeEnumerator.h"

namespace jumplark::cli {
namespace {

std::string lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
  return text;
}

/// 0 for another application; higher the better the name fits.
int fitOfName(const RunningApplication& application, const std::string& wanted) {
  const std::string name = lowered(application.name);
  const std::string identifier = lowered(application.bundleIdentifier);
  if (name == wanted || identifier == wanted) {
    return 3;
  }
  const auto lastPart = identifier.substr(identifier.rfind('.') + 1);
  if (lastPart == wanted || name.starts_with(wanted)) {
    return 2;
  }
  return name.find(wanted) != std::string::npos || identifier.find(wanted) != std::string::npos ? 1 : 0;
}

/// The file name of a process's program; empty where it cannot be told.
std::string programName(int32_t pid) {
  std::error_code error;
  return std::filesystem::read_symlink(fmt::format("/proc/{}/exe", pid), error).filename().string();
}

RunningApplication findByName(const std::string& name, bool live) {
  const auto applications = Platform::current().workspace->applicationsFrontToBack();
  const std::string wanted = lowered(name);
  const auto best = std::max_element(applications.begin(), applications.end(), [&](const auto& a, const auto& b) {
    return fitOfName(a, wanted) < fitOfName(b, wanted);
  });
  if (best != applications.end() && fitOfName(*best, wanted) > 0) {
    return *best;
  }
  // The processes of a recording are not those of this machine.
  const auto program = std::find_if(applications.begin(), applications.end(), [&](const auto& application) {
    return live && lowered(programName(application.pid)) == wanted;
  });
  if (program != applications.end()) {
    return *program;
  }
  std::string names;
  for (const auto& application : applications) {
    names += (names.empty() ? "" : ", ") + application.name;
  }
  throw CommandFailure(
      ExitStatus::outOfReach,
      names.empty() ? localizedFormat("No application named '{}' has a window here; there is none at all.", name)
                    : localizedFormat("No application named '{}' has a window here; there is: {}.", name, names));
}

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
    return findByName(*target.application, !target.desktopFile);
  }
  const auto frontmost = workspace.frontmostApplication();
  if (!frontmost) {
    throw CommandFailure(ExitStatus::outOfReach,
                         localized("No application is in front: open one, or name one with --app or --pid."));
  }
  return *frontmost;
}

std::shared_ptr<JLElementTree> takeSnapshot(const RunningApplication& application, bool visibleOnly) {
  const auto element = JLElement::elementWithPID(application.pid);
  auto tree = JLElementTreeEnumerator(element).enumerateElementsWithOptions({.visibleElements = visibleOnly});
  if (element->role().empty()) {
    throw CommandFailure(ExitStatus::outOfReach,
                         localizedFormat("{} does not answer on the accessibility bus; if it was started before "
                                         "accessibility was switched on, start it again.",
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
