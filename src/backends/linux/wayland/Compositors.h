#pragma once

#include <memory>
#include <string>

#include "backends/linux/wayland/Compositor.h"

namespace jumplark {

class WaylandConnection;

/// The compositor that this is a connection to; null for one that tells nobody where its windows are. A new one is a
/// file or folder and a line here.
std::unique_ptr<Compositor> openCompositor(const std::shared_ptr<WaylandConnection>& connection);

/// Why there is none, and what to do about it, a sentence each.
struct CompositorProblem {
  std::string finding;
  std::string remedy;
};
CompositorProblem compositorProblem(const WaylandConnection& connection);

}  // namespace jumplark
