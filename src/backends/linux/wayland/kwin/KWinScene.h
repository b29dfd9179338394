#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "backends/linux/windows/WindowSystem.h"

namespace jumplark::kwin {

/// Windows and outputs as the script tells them. A message is an object:
///
///   "version"  1
///   "windows"  those that are new or have changed, each whole
///   "gone"     identifiers of those that have gone
///   "order"    identifiers of all, the lowest first; absent when it has not changed
///   "active"   the identifier of the window that has the keyboard, or ""
///   "outputs"  objects with "frame" and "area", the part that panels leave free; absent when they have not changed
class KWinScene {
 public:
  struct Output {
    Rect frame;
    Rect area;
  };

  /// Takes a message in. False, and nothing changes, for what is no message of this version. Windows of no process or
  /// no size, and far too many of them, are left out.
  bool take(const nlohmann::json& message);

  /// Front to back, those that do not show last.
  std::vector<WindowFacts> windows() const;
  WindowId active() const { return active_; }
  const std::vector<Output>& outputs() const { return outputs_; }
  /// What the window can be asked for, and what its maximise button does now.
  std::vector<WindowWish> wishesOf(WindowId id) const;

 private:
  struct Window {
    WindowFacts facts;
    std::vector<WindowWish> wishes;
  };
  void add(const nlohmann::json& told);

  std::map<std::string, Window> windows_;  ///< by KWin's own identifier
  std::vector<std::string> order_;
  WindowId active_;
  std::vector<Output> outputs_;
};

}  // namespace jumplark::kwin
