#pragma once

#include <memory>
#include <string>

#include "backends/linux/wayland/Compositor.h"

namespace jumplark {

struct WaylandGlobals;

/// The compositor of the session that the environment names, which offers these; null for one that tells nobody where
/// its windows are. A new one is a file or folder and a line here.
std::unique_ptr<Compositor> openCompositor(const WaylandGlobals& offered);

/// Why there is none, and what to do about it, a sentence each.
struct CompositorProblem {
  std::string finding;
  std::string remedy;
};
CompositorProblem compositorProblem(const WaylandGlobals& offered);

}  // namespace jumplark
