#pragma once

#include <cstdint>
#include <functional>

#include "backends/linux/wayland/surfaces/Owned.h"
#include "backends/linux/wayland/surfaces/WaylandOutput.h"

namespace jumplark::wayland {

/// One output, as the compositor tells of it. On the thread that dispatches the connection's events only.
class OutputWatch {
 public:
  /// `number` is the compositor's of a wl_output. `changed` is called whenever something has been told completely.
  OutputWatch(wl_registry* registry, uint32_t number, uint32_t version, std::function<void()> changed);
  OutputWatch(const OutputWatch&) = delete;
  OutputWatch& operator=(const OutputWatch&) = delete;

  /// Where it lies in the layout; without this question its scale is a whole number. Once.
  void askForPlace(zxdg_output_manager_v1* manager);

  wl_output* output() const { return output_.get(); }
  /// Whole, at least what is shown.
  int wholeScale() const { return wholeScale_; }
  /// Of no size until it has been told.
  const WaylandOutput& facts() const { return complete_; }

 private:
  struct Listeners;
  void settle();

  std::function<void()> changed_;
  Owned<wl_output> output_;
  Owned<zxdg_output_v1> place_;
  WaylandOutput told_;      ///< so far
  WaylandOutput complete_;  ///< at the last "done"
  int modeWidth_ = 0;       ///< device pixels, as the monitor is made
  int modeHeight_ = 0;
  bool isTurned_ = false;
  int wholeScale_ = 1;
};

}  // namespace jumplark::wayland
