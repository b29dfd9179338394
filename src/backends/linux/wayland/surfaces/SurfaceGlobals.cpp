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

double distance(const Rect& frame, Point place) {
  return std::max({frame.minX() - place.x, 0.0, place.x - frame.maxX() + 1}) +
         std::max({frame.minY() - place.y, 0.0, place.y - frame.maxY() + 1});
}

}  // namespace

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
  } else if (interface == wl_subcompositor_interface.name) {
    subcompositor_ = bind<wl_subcompositor>(registry, name, wl_subcompositor_interface, 1);
  } else if (interface == xdg_wm_base_interface.name) {
    static constexpr xdg_wm_base_listener kAlive = {
        [](void*, xdg_wm_base* base, uint32_t serial) { xdg_wm_base_pong(base, serial); }};
    windowBase_ = bind<xdg_wm_base>(registry, name, xdg_wm_base_interface, 1);
    xdg_wm_base_add_listener(windowBase_.get(), &kAlive, nullptr);
  } else if (interface == wp_viewporter_interface.name) {
    viewporter_ = bind<wp_viewporter>(registry, name, wp_viewporter_interface, 1);
  } else if (interface == zxdg_output_manager_v1_interface.name) {
    places_ = bind<zxdg_output_manager_v1>(registry, name, zxdg_output_manager_v1_interface, std::min(version, 3U));
    askForPlaces();
  } else if (interface == wl_output_interface.name) {
    outputs_.push_back(std::make_unique<OutputWatch>(registry, name, version, [this] { tellOfOutputs(); }));
    askForPlaces();
  }
}

void SurfaceGlobals::remove(uint32_t name) {
  if (std::erase_if(outputs_, [&](const auto& output) { return output->facts().global == name; }) > 0) {
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
    output->askForPlace(places_.get());
  }
}

const OutputWatch* SurfaceGlobals::outputAt(Point place) const {
  const auto nearest = std::ranges::min_element(
      outputs_, {}, [&](const auto& output) { return distance(output->facts().frame, place); });
  return nearest == outputs_.end() ? nullptr : nearest->get();
}

bool SurfaceGlobals::hasOutput(uint32_t number) const {
  return std::ranges::any_of(outputs_, [&](const auto& output) { return output->facts().global == number; });
}

double SurfaceGlobals::ratioAt(Point place) const {
  const OutputWatch* output = outputAt(place);
  if (output == nullptr) {
    return 1;
  }
  return viewporter_ ? output->facts().scale : output->wholeScale();
}

}  // namespace jumplark::wayland
