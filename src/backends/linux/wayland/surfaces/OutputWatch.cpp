#include "backends/linux/wayland/surfaces/OutputWatch.h"

#include <wayland-client.h>

#include <algorithm>
#include <utility>

namespace jumplark::wayland {

struct OutputWatch::Listeners {
  static OutputWatch& watch(void* data) { return *static_cast<OutputWatch*>(data); }

  static constexpr wl_output_listener kOutput = {
      [](void* data, wl_output*, int32_t x, int32_t y, int32_t, int32_t, int32_t, const char*, const char*,
         int32_t transform) {
        watch(data).isTurned_ = transform % 2 != 0;
        if (!watch(data).place_) {
          watch(data).told_.frame.x = x;
          watch(data).told_.frame.y = y;
        }
      },
      [](void* data, wl_output*, uint32_t flags, int32_t width, int32_t height, int32_t) {
        if ((flags & WL_OUTPUT_MODE_CURRENT) != 0) {
          watch(data).modeWidth_ = width;
          watch(data).modeHeight_ = height;
        }
      },
      [](void* data, wl_output*) { watch(data).settle(); },
      [](void* data, wl_output*, int32_t factor) { watch(data).wholeScale_ = std::max(1, factor); },
      [](void* data, wl_output*, const char* name) { watch(data).told_.name = name; },
      [](void*, wl_output*, const char*) {},
  };
  static constexpr zxdg_output_v1_listener kPlace = {
      [](void* data, zxdg_output_v1*, int32_t x, int32_t y) {
        watch(data).told_.frame.x = x;
        watch(data).told_.frame.y = y;
      },
      [](void* data, zxdg_output_v1*, int32_t width, int32_t height) {
        watch(data).told_.frame.width = width;
        watch(data).told_.frame.height = height;
      },
      // Since version 3 the output's own comes instead.
      [](void* data, zxdg_output_v1*) { watch(data).settle(); },
      [](void* data, zxdg_output_v1*, const char* name) { watch(data).told_.name = name; },
      [](void*, zxdg_output_v1*, const char*) {},
  };
};

OutputWatch::OutputWatch(wl_registry* registry, uint32_t number, uint32_t version, std::function<void()> changed)
    : changed_(std::move(changed)),
      output_(
          static_cast<wl_output*>(wl_registry_bind(registry, number, &wl_output_interface, std::min(version, 4U)))) {
  told_.global = complete_.global = number;
  wl_output_add_listener(output_.get(), &Listeners::kOutput, this);
}

void OutputWatch::askForPlace(zxdg_output_manager_v1* manager) {
  if (manager != nullptr && !place_) {
    place_.reset(zxdg_output_manager_v1_get_xdg_output(manager, output_.get()));
    zxdg_output_v1_add_listener(place_.get(), &Listeners::kPlace, this);
  }
}

void OutputWatch::settle() {
  const double pixels = isTurned_ ? modeHeight_ : modeWidth_;
  const double pixelsDown = isTurned_ ? modeWidth_ : modeHeight_;
  complete_ = told_;
  const bool countsPixels =
      wholeScale_ > 1 && pixels > 0 && told_.frame.width == pixels && told_.frame.height == pixelsDown;
  if (told_.frame.width <= 0 || told_.frame.height <= 0 || countsPixels) {
    complete_.frame.width = pixels / wholeScale_;
    complete_.frame.height = pixelsDown / wholeScale_;
  }
  complete_.layoutScale = countsPixels ? wholeScale_ : 1;
  complete_.scale = complete_.frame.width > 0 && pixels > 0 ? pixels / complete_.frame.width : 1;
  changed_();
}

}  // namespace jumplark::wayland
