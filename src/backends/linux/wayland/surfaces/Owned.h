#pragma once

#include <wayland-client-protocol.h>

#include <memory>

#include <viewporter-client-protocol.h>
#include <wlr-layer-shell-unstable-v1-client-protocol.h>
#include <xdg-output-unstable-v1-client-protocol.h>
#include <xdg-shell-client-protocol.h>

namespace jumplark::wayland {

/// Ends an object of the protocol, with the request for it where there is one.
struct ProxyDeleter {
  void operator()(wl_registry* proxy) const { wl_registry_destroy(proxy); }
  void operator()(wl_compositor* proxy) const { wl_compositor_destroy(proxy); }
  void operator()(wl_shm* proxy) const { wl_shm_destroy(proxy); }
  void operator()(wl_shm_pool* proxy) const { wl_shm_pool_destroy(proxy); }
  void operator()(wl_buffer* proxy) const { wl_buffer_destroy(proxy); }
  void operator()(wl_surface* proxy) const { wl_surface_destroy(proxy); }
  void operator()(wl_region* proxy) const { wl_region_destroy(proxy); }
  void operator()(wl_callback* proxy) const { wl_callback_destroy(proxy); }
  void operator()(wl_output* proxy) const {
    wl_output_get_version(proxy) >= WL_OUTPUT_RELEASE_SINCE_VERSION ? wl_output_release(proxy)
                                                                    : wl_output_destroy(proxy);
  }
  void operator()(wl_seat* proxy) const {
    wl_seat_get_version(proxy) >= WL_SEAT_RELEASE_SINCE_VERSION ? wl_seat_release(proxy) : wl_seat_destroy(proxy);
  }
  void operator()(wl_keyboard* proxy) const {
    wl_keyboard_get_version(proxy) >= WL_KEYBOARD_RELEASE_SINCE_VERSION ? wl_keyboard_release(proxy)
                                                                        : wl_keyboard_destroy(proxy);
  }
  void operator()(wp_viewporter* proxy) const { wp_viewporter_destroy(proxy); }
  void operator()(wp_viewport* proxy) const { wp_viewport_destroy(proxy); }
  void operator()(zxdg_output_manager_v1* proxy) const { zxdg_output_manager_v1_destroy(proxy); }
  void operator()(zxdg_output_v1* proxy) const { zxdg_output_v1_destroy(proxy); }
  void operator()(zwlr_layer_shell_v1* proxy) const {
    zwlr_layer_shell_v1_get_version(proxy) >= ZWLR_LAYER_SHELL_V1_DESTROY_SINCE_VERSION
        ? zwlr_layer_shell_v1_destroy(proxy)
        : wl_proxy_destroy(reinterpret_cast<wl_proxy*>(proxy));
  }
  void operator()(wl_subcompositor* proxy) const { wl_subcompositor_destroy(proxy); }
  void operator()(wl_subsurface* proxy) const { wl_subsurface_destroy(proxy); }
  void operator()(xdg_wm_base* proxy) const { xdg_wm_base_destroy(proxy); }
  void operator()(xdg_surface* proxy) const { xdg_surface_destroy(proxy); }
  void operator()(xdg_toplevel* proxy) const { xdg_toplevel_destroy(proxy); }
  void operator()(zwlr_layer_surface_v1* proxy) const { zwlr_layer_surface_v1_destroy(proxy); }
};

template <typename Interface>
using Owned = std::unique_ptr<Interface, ProxyDeleter>;

}  // namespace jumplark::wayland
