#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "backends/linux/windows/WindowSystem.h"

/// What sway's answer to "get_tree" tells of windows, sway-ipc(7).
namespace jumplark::sway {

/// A part of an output that shows windows.
struct Workspace {
  std::string output;
  Rect area;  ///< what bars leave free of the output
};

struct Tree {
  std::vector<WindowFacts> windows;  ///< front to back, those that do not show last
  WindowId focused;                  ///< the window that has the keyboard; empty when none
};

/// Windows of no process, of no size or far too many of them are left out; what is no tree gives an empty one.
Tree readTree(const nlohmann::json& root);

/// The workspaces that show, from the answer to "get_workspaces".
std::vector<Workspace> readWorkspaces(const nlohmann::json& list);

}  // namespace jumplark::sway
