#include "backends/linux/wayland/surfaces/SurfaceGlobals.h"

#include <wayland-client.h>

#include <algorithm>
#include <utility>

namespace jumplark::wayland {
namespace {

template <typename Interface>
Owned<Interface> bind(wl_registry* registry, uint32_t name, const wl_interface& interface, uint32_t version) {
  return Owned<Interface>(static_cast<Interface*>(wl_registry_bind(registry, name, &interface, version)));
}

SurfaceGlobals::Output& outputOf(void* data) {
  return *static_cast<SurfaceGlobals::Output*>(data);
}

double distance(const Rect& frame, Point place) {
  return std::max({frame.minX() - place.x, 0.0, place.x - frame.maxX() + 1}) +
         std::max({frame.minY() - place.y, 0.0, place.y - frame.maxY() + 1});
}

}  // namespace

const wl_output_listener SurfaceGlobals::kOutputListener = {
    [](void* data, wl_output*, int32_t, int32_t, int32_t, int32_t, int32_t, const char*, const char*,
       int32_t transform) { outputOf(data).isTurned = transform % 2 != 0; },
    [](void* data, wl_output*, uint32_t flags, int32_t width, int32_t height, int32_t) {
      if ((flags & WL_OUTPUT_MODE_CURRENT) != 0) {
        outputOf(data).mode[0] = width;
        outputOf(data).mode[1] = height;
      }
    },
    [](void* data, wl_output*) { outputOf(data).owner->tellOfOutputs(); },
    [](void* data, wl_output*, int32_t factor) { outputOf(data).scale = factor; },
    [](void*, wl_output*, const char*) {},
    [](void*, wl_output*, const char*) {},
};

const zxdg_output_v1_listener SurfaceGlobals::kPlaceListener = {
    [](void* data, zxdg_output_v1*, int32_t x, int32_t y) {
      outputOf(data).frame.x = x;
      outputOf(data).frame.y = y;
    },
    [](void* data, zxdg_output_v1*, int32_t width, int32_t height) {
      outputOf(data).frame.width = width;
      outputOf(data).frame.height = height;
    },
    [](void* data, zxdg_output_v1*) { outputOf(data).owner->tellOfOutputs(); },
    [](void*, zxdg_output_v1*, const char*) {},
    [](void*, zxdg_output_v1*, const char*) {},
};

SurfaceGlobals::SurfaceGlobals(wl_display* display, std::function<void()> outputsChanged)
    : registry_(wl_display_get_registry(display)), outputsChanged_(std::move(outputsChanged)) {
  static constexpr wl_registry_listener kListener = {
      [](void* data, wl_registry*, uint32_t name, const char* interface, uint32_t version) {
        static_cast<SurfaceGlobals*>(data)->add(name, interface, version);
      },
      [](void* data, wl_registry*, uint32_t name) { static_cast<SurfaceGlobals*>(data)->remove(name); }};
  wl_registry_add_listener(registry_.get(), &kListener, this);
  // First the names, then what the outputs tell of themselves.
  wl_display_roundtrip(display);
  wl_display_roundtrip(display);
  isTelling_ = true;
}

SurfaceGlobals::~SurfaceGlobals() = default;

void SurfaceGlobals::add(uint32_t name, const std::string& interface, uint32_t version) {
  wl_registry* registry = registry_.get();
  if (interface == wl_compositor_interface.name) {
    compositor_ = bind<wl_compositor>(registry, name, wl_compositor_interface, std::min(version, 4U));
  } else if (interface == wl_shm_interface.name) {
    shm_ = bind<wl_shm>(registry, name, wl_shm_interface, 1);
  } else if (interface == zwlr_layer_shell_v1_interface.name) {
    layerShell_ = bind<zwlr_layer_shell_v1>(registry, name, zwlr_layer_shell_v1_interface, std::min(version, 4U));
  } else if (interface == wp_viewporter_interface.name) {
    viewporter_ = bind<wp_viewporter>(registry, name, wp_viewporter_interface, 1);
  } else if (interface == zxdg_output_manager_v1_interface.name) {
    places_ = bind<zxdg_output_manager_v1>(registry, name, zxdg_output_manager_v1_interface, std::min(version, 3U));
    askForPlaces();
  } else if (interface == wl_output_interface.name) {
    addOutput(name, version);
  }
}

void SurfaceGlobals::addOutput(uint32_t name, uint32_t version) {
  auto output = std::make_unique<Output>();
  output->name = name;
  output->owner = this;
  output->output = bind<wl_output>(registry_.get(), name, wl_output_interface, std::min(version, 3U));
  wl_output_add_listener(output->output.get(), &kOutputListener, output.get());
  outputs_.push_back(std::move(output));
  askForPlaces();
}

void SurfaceGlobals::remove(uint32_t name) {
  if (std::erase_if(outputs_, [&](const auto& output) { return output->name == name; }) > 0) {
    tellOfOutputs();
  }
}

void SurfaceGlobals::tellOfOutputs() {
  if (isTelling_) {
    outputsChanged_();
  }
}

void SurfaceGlobals::askForPlaces() {
  for (const auto& output : outputs_) {
    if (places_ && !output->place) {
      output->place.reset(zxdg_output_manager_v1_get_xdg_output(places_.get(), output->output.get()));
      zxdg_output_v1_add_listener(output->place.get(), &kPlaceListener, output.get());
    }
  }
}

const SurfaceGlobals::Output* SurfaceGlobals::outputAt(Point place) const {
  const auto nearest =
      std::ranges::min_element(outputs_, {}, [&](const auto& output) { return distance(output->frame, place); });
  return nearest == outputs_.end() ? nullptr : nearest->get();
}

bool SurfaceGlobals::hasOutput(uint32_t name) const {
  return std::ranges::any_of(outputs_, [&](const auto& output) { return output->name == name; });
}

double SurfaceGlobals::ratioAt(Point place) const {
  const Output* output = outputAt(place);
  if (!output || !viewporter_ || output->frame.width <= 0 || output->mode[0] <= 0) {
    return output ? output->scale : 1;
  }
  return (output->isTurned ? output->mode[1] : output->mode[0]) / output->frame.width;
}

}  // namespace jumplark::wayland
