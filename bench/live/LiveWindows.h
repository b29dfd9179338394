#pragma once

#include <functional>
#include <string>
#include <vector>

#include "BaselineWalk.h"
#include "desktop/support/PrivateSession.h"

namespace jumplark::bench {

/// An application whose window is measured, and what is wanted of it.
struct LiveWindow {
  std::string name;
  BaselineWalk::Showing showing = BaselineWalk::Showing::byState;
  double ratioGoal = 0;       ///< of the baseline's time
  double thousandGoal = 0;    ///< milliseconds for 1,000 elements that show
  size_t enoughElements = 0;  ///< it is ready when so many show
  /// Starts it, and returns when its window is in front.
  std::function<desktop::SessionWindow(desktop::PrivateSession&)> start;
};

/// One or two for each toolkit; those whose program is not installed are left out.
std::vector<LiveWindow> liveWindows();

}  // namespace jumplark::bench
