#include "backends/linux/wayland/surfaces/LayerSurface.h"

#include <wayland-client.h>

#include <cmath>
#include <utility>

#include "backends/linux/wayland/surfaces/BoundedQueue.h"

namespace jumplark::wayland {
namespace {

Owned<zwlr_layer_surface_v1> makeLayer(zwlr_layer_shell_v1* shell, wl_surface* surface, wl_output* output,
                                       const BoundedQueue* queue) {
  constexpr const char* kPurpose = "jumplark";
  if (!queue) {
    return Owned<zwlr_layer_surface_v1>(
        zwlr_layer_shell_v1_get_layer_surface(shell, surface, output, ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY, kPurpose));
  }
  // An event may come before the queue of an object that is there already can be changed.
  auto* wrapper = static_cast<zwlr_layer_shell_v1*>(wl_proxy_create_wrapper(shell));
  wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(wrapper), queue->get());
  Owned<zwlr_layer_surface_v1> layer(
      zwlr_layer_shell_v1_get_layer_surface(wrapper, surface, output, ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY, kPurpose));
  wl_proxy_wrapper_destroy(wrapper);
  return layer;
}

}  // namespace

LayerSurface::LayerSurface(const SurfaceGlobals& globals, const OutputWatch& output, wl_surface* surface,
                           const Options& options, Events events)
    : corner_{output.facts().frame.x, output.facts().frame.y},
      layer_(makeLayer(globals.layerShell(), surface, output.output(), options.queue)),
      queue_(options.queue),
      events_(std::move(events)) {
  static constexpr zwlr_layer_surface_v1_listener kListener = {
      [](void* data, zwlr_layer_surface_v1* layer, uint32_t serial, uint32_t, uint32_t) {
        auto& self = *static_cast<LayerSurface*>(data);
        zwlr_layer_surface_v1_ack_configure(layer, serial);
        if (!std::exchange(self.configured_, true) && !self.waiting_) {
          self.events_.configured();
        }
      },
      [](void* data, zwlr_layer_surface_v1*) {
        auto& self = *static_cast<LayerSurface*>(data);
        self.closed_ = true;
        if (!self.waiting_) {
          // A copy, since the call may destroy this.
          const auto closed = self.events_.closed;
          closed();
        }
      }};
  zwlr_layer_surface_v1_add_listener(layer_.get(), &kListener, this);
  zwlr_layer_surface_v1_set_anchor(layer_.get(), ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT);
  // Wherever panels are, it counts from the output's corner.
  zwlr_layer_surface_v1_set_exclusive_zone(layer_.get(), -1);
  zwlr_layer_surface_v1_set_keyboard_interactivity(
      layer_.get(), options.takesKeyboard ? ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_EXCLUSIVE
                                          : ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_NONE);
  moveTo(options.place, options.card);
  wl_surface_commit(surface);
}

LayerSurface::~LayerSurface() = default;

void LayerSurface::moveTo(const Rect& place, const Rect& /*card*/) {
  zwlr_layer_surface_v1_set_size(layer_.get(), static_cast<uint32_t>(place.width), static_cast<uint32_t>(place.height));
  zwlr_layer_surface_v1_set_margin(layer_.get(), static_cast<int32_t>(std::lround(place.y - corner_.y)), 0, 0,
                                   static_cast<int32_t>(std::lround(place.x - corner_.x)));
}

bool LayerSurface::awaitConfigured(Duration limit) {
  waiting_ = true;
  queue_->wait([this] { return configured_ || closed_; }, limit);
  waiting_ = false;
  // What comes later is handled with the connection's other events.
  wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(layer_.get()), nullptr);
  wl_display_dispatch_queue_pending(queue_->display(), queue_->get());
  return configured_ && !closed_;
}

}  // namespace jumplark::wayland
