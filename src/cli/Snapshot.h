#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cli/CommandLine.h"
#include "platform/Workspace.h"
#include "selection/JLElementShortcutAssigner.h"

namespace jumplark {
class JLElementTree;
}

/// The steps that commands share, on the installed platform: choose the application, take its snapshot, rank a query's
/// matches.
namespace jumplark::cli {

/// Throws CommandFailure when the target is not there.
RunningApplication findTarget(const Target& target);

/// The snapshot of an application; what shows of it, or everything; with the window's own buttons. Throws
/// CommandFailure when the application cannot be read at all.
std::shared_ptr<JLElementTree> takeSnapshot(const RunningApplication& application, bool visibleOnly,
                                            bool windowButtons = false);

struct LabelledMatch {
  JLElementMatch match;
  std::string label;
};

/// The matches of a query as a user would see them: too small ones left out, best first, with their labels.
std::vector<LabelledMatch> rankedMatches(const std::shared_ptr<JLElementTree>& tree, const std::string& query);

/// How a match reads in a sentence: its role and its text, e.g. `Button "Save"`.
std::string describe(const JLElementMatch& match);

}  // namespace jumplark::cli
