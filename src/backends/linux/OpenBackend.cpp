#include "backends/linux/OpenBackend.h"

#include <utility>

#include "backends/linux/x11/X11Backend.h"

namespace jumplark {

OpenedBackend openBackend(TaskQueue& mainQueue) {
  auto x11 = X11Backend::open(mainQueue);
  return {std::move(x11.backend), std::move(x11.error)};
}

}  // namespace jumplark
